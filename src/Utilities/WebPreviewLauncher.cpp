#include "Utilities/WebPreviewLauncher.h"

#include <nlohmann/json.hpp>

#include "Imaging/OptionCoding.h"
#include "Imaging/PPDKeywords.h"
#include "Utilities/PreviewAgentClient.h"

namespace
{

constexpr int kQueueArgument = 0;
constexpr int kUserArgument = 2;

std::string GetArgument(const ASettingsStore& inSettings, int inIndex)
{
    const char* const argument = inSettings.GetCommandLineParameter(inIndex);
    return argument != nullptr ? argument : "";
}

std::string CreateMessage(const char* inMethod, nlohmann::json inParameters)
{
    const nlohmann::json message = {{"method", inMethod}, {"params", std::move(inParameters)}};
    constexpr int kOnOneLine = -1;
    constexpr bool kKeepUnicode = false;
    return message.dump(kOnOneLine, ' ', kKeepUnicode, nlohmann::json::error_handler_t::replace) + "\n";
}

} // namespace

void AWebPreviewLauncher::Initialize()
{
    const ASettingsStore& settings = GetSettingsStore();
    fHoldJob = IsOption(GetCUPSOption("VXHoldJob", true), kTrueValue);
    fDeviceAddress = GetCUPSOption("VXDeviceIP").value_or("");
    fJobIdentifier = CreateDecodedCString(GetCUPSOption("VXUUID").value_or(""));
    fQueueName = GetArgument(settings, kQueueArgument);
    fAccounting =
        GetCUPSOption("VXJobAccounting").has_value() || settings.IsFeatureSupported(kVXJobAccountingPPDKeyRef);
}

void AWebPreviewLauncher::OpenWebPreview() const
{
    if (!fHoldJob)
    {
        return;
    }
    const auto action = GetSettingsStore().GetInvocationCode(kVXHoldJobActionPPDKeyRef, kTrueValue);
    const std::string url = action ? "" : CreateURLStringToOpen();
    const std::string message = action         ? CreateActionMessage(*action)
                                : !url.empty() ? CreateMessage("openServiceURL", nlohmann::json::array({url}))
                                               : "";
    if (!message.empty())
    {
        SendToPreviewAgent(GetArgument(GetSettingsStore(), kUserArgument), message);
    }
}

/// Empty when the printer, or the job at it, is not known.
std::string AWebPreviewLauncher::CreateURLStringToOpen() const
{
    if (fDeviceAddress.empty() || (fAccounting && fJobIdentifier.empty()))
    {
        return "";
    }
    const std::string device = "http://" + fDeviceAddress;
    return fAccounting ? device + "/vx/device/webAccess/preview.htm?ID=" + fJobIdentifier : device;
}

/// Empty when the queue or the job is not known.
std::string AWebPreviewLauncher::CreateActionMessage(const std::string& inPPDAction) const
{
    if (fQueueName.empty() || fJobIdentifier.empty())
    {
        return "";
    }
    return CreateMessage("performPPDAction",
                         nlohmann::json::array({inPPDAction, nlohmann::json::array({fQueueName, fJobIdentifier})}));
}
