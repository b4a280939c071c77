#include "Monitors/DeviceStatusMonitor/DeviceStatusInfo.h"

#include <algorithm>
#include <array>
#include <utility>

#include "Imaging/Logger.h"

namespace
{

/// In the order of ADeviceStatusType.
constexpr std::array<std::string_view, 6> kTypeNames = {"Unknown",          "Normal",     "Warning",
                                                        "RecoverableError", "FatalError", "CancelingJob"};

ADeviceStatusType FindType(std::string_view inName)
{
    const auto found = std::find(kTypeNames.begin(), kTypeNames.end(), inName);
    return LogUnless(found != kTypeNames.end(), "false") ? static_cast<ADeviceStatusType>(found - kTypeNames.begin())
                                                         : ADeviceStatusType::kUnknown;
}

} // namespace

ADeviceStatusInfo::ADeviceStatusInfo(std::optional<std::string_view> inTypeName, std::optional<std::string> inMessage)
    : fMessage(std::move(inMessage))
{
    LogEnteredFunction();
    if (inTypeName)
    {
        fType = FindType(*inTypeName);
    }
}

ADeviceStatusInfo::ADeviceStatusInfo(const ADeviceStatusInfo& inOther)
    : fType(inOther.fType), fMessage(inOther.fMessage)
{
    LogEnteredFunction();
}

ADeviceStatusInfo& ADeviceStatusInfo::operator=(const ADeviceStatusInfo& inOther)
{
    LogEnteredFunction();
    if (this != &inOther)
    {
        fType = inOther.fType;
        fMessage = inOther.fMessage;
    }
    return *this;
}

ADeviceStatusInfo::~ADeviceStatusInfo()
{
    LogEnteredFunction();
}

bool ADeviceStatusInfo::operator==(const ADeviceStatusInfo& inOther) const
{
    LogEnteredFunction();
    return fType == inOther.fType && fMessage == inOther.fMessage;
}

ADeviceStatusType ADeviceStatusInfo::GetStatusType() const
{
    LogEnteredFunction();
    return fType;
}

const std::optional<std::string>& ADeviceStatusInfo::GetStatusMessage() const
{
    LogEnteredFunction();
    return fMessage;
}

bool ADeviceStatusInfo::IsStatusMoreSerious(const ADeviceStatusInfo& inOther) const
{
    LogEnteredFunction();
    return fType > inOther.fType;
}
