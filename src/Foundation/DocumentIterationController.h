#pragma once

#include <memory>

#include "Foundation/DocumentIterator.h"
#include "Foundation/FilterObject.h"
#include "Monitors/DeviceStatusMonitor/DeviceStatusMonitor.h"

/// Lets the state of the device steer the job, when the printer description asks for it: an error that can be mended
/// holds the job, a fatal one ends it. Without that request it does nothing: no thread, no line.
class ADocumentIterationController final : public AFilterObject, private IDeviceStatusMonitorDelegate
{
public:
    /// The iterator must outlive the controller. The interval is that of ADeviceStatusMonitor.
    explicit ADocumentIterationController(ADocumentIterator& ioIterator,
                                          std::chrono::milliseconds inInterval = kDevicePollingInterval)
        : fIterator(ioIterator), fInterval(inInterval)
    {
    }
    ~ADocumentIterationController() override;

    /// Before the iteration. Throws AConstructionFailedException when the device is to be watched and the environment
    /// variable DEVICE_URI does not tell it.
    void Initialize();

    /// After the iteration. Does not return when the last status of the device was a fatal error: such a job never
    /// counts as printed, it waits to be cancelled by the print system.
    void DocumentIterationHasBeenFinished();

private:
    void DeviceStatusHasBeenChanged(const ADeviceStatusInfo& inNewStatus) override;
    static void ReportInitialStatusToProxyWindow();

    ADocumentIterator& fIterator;
    const std::chrono::milliseconds fInterval;
    std::unique_ptr<ADeviceStatusMonitor> fMonitor; ///< null unless the device is watched
};
