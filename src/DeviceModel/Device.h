#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

/// What a device says of itself at one moment.
struct ADeviceReport
{
    std::optional<int> fDeviceState;           ///< printer-state (RFC 8011): 3 idle, 4 processing, 5 stopped
    std::vector<std::string> fAlertSeverities; ///< one an alert, in the device's own order
};

/// A device that can be asked how it is. One object serves one thread at a time.
///
/// Every operation ends within a bounded time, whatever the device does, and within a second after a stop was requested
/// by another thread.
class IDevice
{
public:
    IDevice() = default;
    IDevice(const IDevice&) = delete;
    IDevice& operator=(const IDevice&) = delete;
    virtual ~IDevice() = default;

    /// Finds the device and hears from it once. False, with the reason in the log unless a stop is the reason, when it
    /// does not answer as such a device should.
    [[nodiscard]] virtual bool Resolve(const std::stop_token& inStop) = 0;

    /// Empty when the device does not answer.
    [[nodiscard]] virtual ADeviceReport ReadReport(const std::stop_token& inStop) = 0;
};

/// Makes a device of its URI without contacting it; null when devices of that kind cannot be asked.
using ADeviceFactory = std::function<std::unique_ptr<IDevice>(const std::string& inDeviceURI)>;
