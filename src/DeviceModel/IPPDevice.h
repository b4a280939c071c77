#pragma once

#include <string_view>

#include "DeviceModel/Device.h"
#include "DeviceModel/IPPExchange.h"

/// A device that is asked over IPP (RFC 8010, RFC 8011), each time on a new connection.
class AIPPDevice final : public IDevice
{
public:
    /// "ipp", "ipps", "http" and "https" URIs are asked as they stand, without user and query (which CUPS means for the
    /// back end); "socket" and "lpd" ones at the IPP service that such a device also has. Null for any other.
    [[nodiscard]] static std::unique_ptr<IDevice> Create(const std::string& inDeviceURI);

    explicit AIPPDevice(AIPPAddress inAddress) : fAddress(std::move(inAddress)) {}

    /// Waits at most 7 seconds for the answer.
    [[nodiscard]] bool Resolve(const std::stop_token& inStop) override;

    /// Waits at most 7 seconds for the answer.
    [[nodiscard]] ADeviceReport ReadReport(const std::stop_token& inStop) override;

private:
    AIPPAddress fAddress;
};

/// The address that a device URI leads to; none when there is no asking there.
[[nodiscard]] std::optional<AIPPAddress> FindIPPAddress(const std::string& inDeviceURI);

/// Severity of a value of printer-state-reasons (RFC 8011, 5.4.12): "report", "warning", "error", "fatal" or
/// "canceling".
[[nodiscard]] std::string_view GetAlertSeverity(std::string_view inReason);
