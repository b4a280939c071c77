#include "DeviceModel/IPPDevice.h"

#include <algorithm>
#include <array>
#include <utility>

#include <cups/http.h>

#include "Imaging/Logger.h"

namespace
{

constexpr std::chrono::seconds kAnswerTime(7);
constexpr int kIPPPort = 631;
constexpr const char* kIPPResource = "/ipp/print"; ///< PWG 5100.12: where a printer has its service

constexpr std::array<std::string_view, 4> kIPPSchemes = {"ipp", "ipps", "http", "https"};
constexpr std::array<std::string_view, 2> kRawSchemes = {"socket", "lpd"};

template <std::size_t kCount>
bool Holds(const std::array<std::string_view, kCount>& inTexts, std::string_view inText)
{
    return std::find(inTexts.begin(), inTexts.end(), inText) != inTexts.end();
}

/// The address with its URI; none when there is no URI of that length.
std::optional<AIPPAddress> MakeAddress(const char* inScheme, const char* inHost, int inPort, const char* inResource)
{
    std::array<char, 2048> uri{};
    if (httpAssembleURI(HTTP_URI_CODING_ALL, uri.data(), static_cast<int>(uri.size()), inScheme, nullptr, inHost,
                        inPort, inResource) != HTTP_URI_STATUS_OK)
    {
        return std::nullopt;
    }
    const bool isSecure = std::string_view(inScheme).ends_with('s');
    return AIPPAddress{uri.data(), inHost, inPort, inResource, isSecure};
}

/// With or without a severity behind it.
bool IsReason(std::string_view inReason, std::string_view inBase)
{
    return inReason == inBase || (inReason.starts_with(inBase) && inReason[inBase.size()] == '-');
}

} // namespace

std::optional<AIPPAddress> FindIPPAddress(const std::string& inDeviceURI)
{
    std::array<char, HTTP_MAX_URI> scheme{};
    std::array<char, HTTP_MAX_URI> user{};
    std::array<char, HTTP_MAX_URI> host{};
    std::array<char, HTTP_MAX_URI> resource{};
    int port = 0;
    const std::string withoutQuery = inDeviceURI.substr(0, inDeviceURI.find('?'));
    const http_uri_status_t status =
        httpSeparateURI(HTTP_URI_CODING_ALL, withoutQuery.c_str(), scheme.data(), HTTP_MAX_URI, user.data(),
                        HTTP_MAX_URI, host.data(), HTTP_MAX_URI, &port, resource.data(), HTTP_MAX_URI);
    if (status < HTTP_URI_STATUS_OK || host.front() == '\0')
    {
        return std::nullopt;
    }
    if (Holds(kRawSchemes, scheme.data()))
    {
        return MakeAddress("ipp", host.data(), kIPPPort, kIPPResource);
    }
    if (!Holds(kIPPSchemes, scheme.data()))
    {
        return std::nullopt;
    }
    auto address = MakeAddress(scheme.data(), host.data(), port, resource.data());
    if (address && user.front() == '\0')
    {
        address->fURI = withoutQuery;
    }
    return address;
}

std::string_view GetAlertSeverity(std::string_view inReason)
{
    if (IsReason(inReason, "shutdown") || IsReason(inReason, "deactivated"))
    {
        return "fatal";
    }
    if (inReason == "processing-to-stop-point")
    {
        return "canceling";
    }
    for (const std::string_view suffix : {"-report", "-warning", "-error"})
    {
        if (inReason.ends_with(suffix))
        {
            return suffix.substr(1);
        }
    }
    return "warning";
}

std::unique_ptr<IDevice> AIPPDevice::Create(const std::string& inDeviceURI)
{
    auto address = FindIPPAddress(inDeviceURI);
    return address ? std::make_unique<AIPPDevice>(*std::move(address)) : nullptr;
}

bool AIPPDevice::Resolve(const std::stop_token& inStop)
{
    const AIPPAnswer answer = AskPrinter(fAddress, kAnswerTime, inStop);
    if (!answer.fIsValid && !inStop.stop_requested())
    {
        LoggerLogMessage(kLogError, "Service info hasn't been resolved. The error: %s", answer.fError.c_str());
    }
    return answer.fIsValid;
}

ADeviceReport AIPPDevice::ReadReport(const std::stop_token& inStop)
{
    const AIPPAnswer answer = AskPrinter(fAddress, kAnswerTime, inStop);
    ADeviceReport report{answer.fState, {}};
    for (const std::string& reason : answer.fStateReasons)
    {
        if (reason != "none")
        {
            report.fAlertSeverities.emplace_back(GetAlertSeverity(reason));
        }
    }
    return report;
}
