#pragma once

#include <optional>

#include "DeviceModel/Device.h"
#include "Imaging/PropertyList.h"
#include "Monitors/DeviceStatusMonitor/DeviceStatusInfo.h"

/// Obtains the state and the alerts of a device and maps them to a status.
///
/// Two property lists in the resource folder say what they mean: DeviceAlertSeverityInfos.plist by the severity of an
/// alert, DeviceStateInfos.plist by the number of a state. An entry has "statusType", a name on the scale of
/// ADeviceStatusInfo, and "statusMessage", the key of a localised text. Every failure ends as Unknown without a
/// message. Used by one thread.
class ADeviceStatusAccessor
{
public:
    /// Contacts nobody yet. Throws AConstructionFailedException without a URI.
    ADeviceStatusAccessor(const std::optional<std::string>& inDeviceURI, ADeviceFactory inFactory);

    /// Finds the device; again, if it was found before. False when there is none, or after a stop.
    [[nodiscard]] bool Resolve(const std::stop_token& inStop);

    /// The most serious of its alerts and its state; an alert before another, and before the state, that is as serious.
    [[nodiscard]] ADeviceStatusInfo GetDeviceStatusInfo(const std::stop_token& inStop);

private:
    [[nodiscard]] ADeviceStatusInfo GetStatusInfoForAlerts(const std::vector<std::string>& inSeverities);
    [[nodiscard]] ADeviceStatusInfo GetStatusInfoForAlertSeverity(const std::string& inSeverity);
    [[nodiscard]] ADeviceStatusInfo GetStatusInfoForDeviceState(std::optional<int> inState);
    [[nodiscard]] const ATextDictionaries* GetDeviceAlertSeverityInfos();
    [[nodiscard]] const ATextDictionaries* GetDeviceStateInfos();

    std::string fDeviceURI;
    ADeviceFactory fFactory;
    std::unique_ptr<IDevice> fDevice; ///< null until it is found
    std::optional<ATextDictionaries> fDeviceAlertSeverityInfos;
    std::optional<ATextDictionaries> fDeviceStateInfos;
};
