#pragma once

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>

#include "DeviceModel/IPPDevice.h"
#include "Monitors/DeviceStatusMonitor/DeviceStatusAccessor.h"
#include "Monitors/DeviceStatusMonitor/DeviceStatusInfo.h"

/// Hears of the changes of a device's status.
class IDeviceStatusMonitorDelegate
{
public:
    virtual ~IDeviceStatusMonitorDelegate() = default;

    /// Called on the monitoring thread, while no stop can take effect. May stop the monitor.
    virtual void DeviceStatusHasBeenChanged(const ADeviceStatusInfo& inNewStatus) = 0;
};

inline constexpr std::chrono::milliseconds kDevicePollingInterval(15000);

/// Watches a device while the job is written: a thread asks it for its status at regular times, writes a CUPS status
/// line (filter(7)) each time, and tells its delegate of each change.
///
/// Starting and destroying belong to one thread, the owner's; the delegate may stop the monitor too. A device that
/// cannot be found, refuses, hangs or goes away never stops anything but the reports.
///
/// Two locks, the reporting one always before the status one. Both let their owner lock them again, as the delegate
/// that is told of a change may stop the monitor.
class ADeviceStatusMonitor
{
public:
    /// The lines go to the descriptor, which is not owned. Throws AConstructionFailedException without a URI or with a
    /// negative descriptor. inInterval, from one look at the device to the next, is positive.
    ADeviceStatusMonitor(std::optional<std::string> inDeviceURI, int inReportingDescriptor,
                         std::chrono::milliseconds inInterval = kDevicePollingInterval,
                         ADeviceFactory inFactory = AIPPDevice::Create);
    ADeviceStatusMonitor(const ADeviceStatusMonitor&) = delete;
    ADeviceStatusMonitor& operator=(const ADeviceStatusMonitor&) = delete;
    ~ADeviceStatusMonitor() { StopMonitoring(); }

    /// Not owned; null for none.
    void SetDelegate(IDeviceStatusMonitorDelegate* inDelegate);

    /// Logged and without effect while the thread runs. Without a thread to be had, the device is not watched.
    void StartMonitoring();

    /// Nothing is reported any more once it returns, and the thread has ended: within about half a second, whatever
    /// the device does. On the monitoring thread itself a request only, which takes effect with the delegate's return.
    void StopMonitoring();

    /// A copy of the last status; Unknown before the first.
    [[nodiscard]] ADeviceStatusInfo GetDeviceStatusInfo();

private:
    void RunThread(const std::stop_token& inStop);
    void MonitorDevice(const std::stop_token& inStop);
    void HandleTimer(ADeviceStatusAccessor& ioAccessor, const std::stop_token& inStop);
    void UpdateDeviceStatusInfo(const ADeviceStatusInfo& inNewStatus);
    [[nodiscard]] bool SetDeviceStatusInfo(const ADeviceStatusInfo& inNewStatus);

    const std::string fDeviceURI;
    const int fReportingDescriptor;
    const std::chrono::milliseconds fInterval;
    const ADeviceFactory fFactory;

    std::recursive_mutex fReportingMutex; ///< guards writing a report, and stopping
    std::recursive_mutex fStatusMutex;    ///< guards the status and the delegate
    ADeviceStatusInfo fCurrentStatus;
    IDeviceStatusMonitorDelegate* fDelegate = nullptr;

    std::atomic<bool> fIsRunning = false;
    std::jthread fThread; ///< the handle is changed with the reporting lock held, but for the join of the owner
};

/// Writes the status line for a new status, if there is one. A printer's recovery has a line of its own; a status
/// without a message has none.
void ReportDeviceStatus(int inDescriptor, const ADeviceStatusInfo& inOldStatus, const ADeviceStatusInfo& inNewStatus);
