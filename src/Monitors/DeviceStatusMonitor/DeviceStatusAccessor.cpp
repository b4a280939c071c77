#include "Monitors/DeviceStatusMonitor/DeviceStatusAccessor.h"

#include <utility>

#include "Imaging/Localization.h"
#include "Imaging/Logger.h"
#include "Imaging/Resources.h"
#include "Monitors/DeviceStatusMonitor/ConstructionFailedException.h"

namespace
{

/// Reads the property list into ioInfos, once. Null, with an assertion, when it cannot be read.
const ATextDictionaries* GetInfos(std::optional<ATextDictionaries>& ioInfos, const std::string& inName)
{
    if (!ioInfos)
    {
        ioInfos = ReadTextDictionaries(GetResourceFolder() + "/" + inName + ".plist");
    }
    return LogUnless(ioInfos.has_value(), ("NULL != f" + inName).c_str()) ? &*ioInfos : nullptr;
}

ADeviceStatusInfo GenerateStatusInfoFromDictionary(const ATextDictionary& inEntry)
{
    const auto type = inEntry.find("statusType");
    const auto message = inEntry.find("statusMessage");
    return {type != inEntry.end() ? std::optional<std::string_view>(type->second) : std::nullopt,
            message != inEntry.end() ? std::optional(CreateLocalizedString(message->second)) : std::nullopt};
}

/// Null infos, which somebody else complained about, know no status.
ADeviceStatusInfo GetStatusInfoForKey(const ATextDictionaries* inInfos, const std::string& inKey)
{
    if (inInfos == nullptr)
    {
        return {};
    }
    const auto found = inInfos->find(inKey);
    return LogUnless(found != inInfos->end(), "false") ? GenerateStatusInfoFromDictionary(found->second)
                                                       : ADeviceStatusInfo();
}

} // namespace

ADeviceStatusAccessor::ADeviceStatusAccessor(const std::optional<std::string>& inDeviceURI, ADeviceFactory inFactory)
    : fFactory(std::move(inFactory))
{
    if (!inDeviceURI)
    {
        throw AConstructionFailedException("No device to get the status of");
    }
    fDeviceURI = *inDeviceURI;
}

bool ADeviceStatusAccessor::Resolve(const std::stop_token& inStop)
{
    auto device = fFactory(fDeviceURI);
    if (device == nullptr)
    {
        LoggerLogMessage(kLogError, "Warning. Failed to obtain the device info object");
    }
    else if (device->Resolve(inStop))
    {
        fDevice = std::move(device);
        return true;
    }
    return inStop.stop_requested() ? false : LogUnless(false, "nil != deviceServiceInfo");
}

ADeviceStatusInfo ADeviceStatusAccessor::GetDeviceStatusInfo(const std::stop_token& inStop)
{
    if (!LogUnless(fDevice != nullptr, "false"))
    {
        return {};
    }
    const ADeviceReport report = fDevice->ReadReport(inStop);
    if (inStop.stop_requested())
    {
        return {};
    }
    const ADeviceStatusInfo alerts = GetStatusInfoForAlerts(report.fAlertSeverities);
    const ADeviceStatusInfo state = GetStatusInfoForDeviceState(report.fDeviceState);
    return state.IsStatusMoreSerious(alerts) ? state : alerts;
}

ADeviceStatusInfo ADeviceStatusAccessor::GetStatusInfoForAlerts(const std::vector<std::string>& inSeverities)
{
    ADeviceStatusInfo mostSerious;
    for (const std::string& severity : inSeverities)
    {
        const ADeviceStatusInfo alert = GetStatusInfoForAlertSeverity(severity);
        if (alert.IsStatusMoreSerious(mostSerious))
        {
            mostSerious = alert;
        }
    }
    return mostSerious;
}

ADeviceStatusInfo ADeviceStatusAccessor::GetStatusInfoForAlertSeverity(const std::string& inSeverity)
{
    return GetStatusInfoForKey(GetDeviceAlertSeverityInfos(), inSeverity);
}

ADeviceStatusInfo ADeviceStatusAccessor::GetStatusInfoForDeviceState(std::optional<int> inState)
{
    if (!LogUnless(inState.has_value(), "NULL != inDeviceState"))
    {
        return {};
    }
    return GetStatusInfoForKey(GetDeviceStateInfos(), std::to_string(*inState));
}

const ATextDictionaries* ADeviceStatusAccessor::GetDeviceAlertSeverityInfos()
{
    return GetInfos(fDeviceAlertSeverityInfos, "DeviceAlertSeverityInfos");
}

const ATextDictionaries* ADeviceStatusAccessor::GetDeviceStateInfos()
{
    return GetInfos(fDeviceStateInfos, "DeviceStateInfos");
}
