#include "Monitors/DeviceStatusMonitor/DeviceStatusMonitor.h"

#include <condition_variable>
#include <exception>
#include <system_error>
#include <utility>

#include "Imaging/Logger.h"
#include "Imaging/PrintfTemplate.h"
#include "Imaging/StatusLine.h"
#include "Monitors/DeviceStatusMonitor/ConstructionFailedException.h"

namespace
{

using AClock = std::chrono::steady_clock;

std::string RequireURI(std::optional<std::string> inDeviceURI)
{
    if (!inDeviceURI)
    {
        throw AConstructionFailedException("The device cannot be monitored: DEVICE_URI is not set");
    }
    return *std::move(inDeviceURI);
}

std::string_view GetPrefixForDeviceStatusMessage(const ADeviceStatusInfo& inStatus)
{
    switch (inStatus.GetStatusType())
    {
    case ADeviceStatusType::kNormal:
    case ADeviceStatusType::kWarning:
    case ADeviceStatusType::kCancelingJob:
        return "INFO";
    case ADeviceStatusType::kRecoverableError:
        return "ERROR: recoverable";
    case ADeviceStatusType::kFatalError:
        return "ERROR";
    case ADeviceStatusType::kUnknown:
        break;
    }
    return "";
}

/// False when a stop ended the sleep.
bool SleepUntil(AClock::time_point inTime, const std::stop_token& inStop)
{
    std::mutex mutex;
    std::condition_variable_any never;
    std::unique_lock lock(mutex);
    never.wait_until(lock, inStop, inTime, [] { return false; });
    return !inStop.stop_requested();
}

} // namespace

void ReportDeviceStatus(int inDescriptor, const ADeviceStatusInfo& inOldStatus, const ADeviceStatusInfo& inNewStatus)
{
    if (inOldStatus.GetStatusType() == ADeviceStatusType::kRecoverableError &&
        inNewStatus.GetStatusType() == ADeviceStatusType::kNormal)
    {
        WriteStatusLine(inDescriptor, "WARNING: recovered:");
    }
    else if (const std::optional<std::string>& message = inNewStatus.GetStatusMessage())
    {
        // A text of the message tables is a printf format without arguments: "%%" is a percent sign.
        WriteStatusLine(inDescriptor,
                        std::string(GetPrefixForDeviceStatusMessage(inNewStatus)) + ":" + FormatTemplate(*message, {}));
    }
}

ADeviceStatusMonitor::ADeviceStatusMonitor(std::optional<std::string> inDeviceURI, int inReportingDescriptor,
                                           std::chrono::milliseconds inInterval, ADeviceFactory inFactory)
    : fDeviceURI(RequireURI(std::move(inDeviceURI))), fReportingDescriptor(inReportingDescriptor),
      fInterval(inInterval), fFactory(std::move(inFactory))
{
    if (fReportingDescriptor < 0)
    {
        throw AConstructionFailedException("The device cannot be monitored: there is nowhere to report to");
    }
}

void ADeviceStatusMonitor::SetDelegate(IDeviceStatusMonitorDelegate* inDelegate)
{
    const std::scoped_lock lock(fStatusMutex);
    fDelegate = inDelegate;
}

void ADeviceStatusMonitor::StartMonitoring()
{
    if (!LogUnless(!fIsRunning, "false"))
    {
        return;
    }
    // The new thread reports, and so stops itself, only once its handle is in place.
    const std::scoped_lock lock(fReportingMutex);
    try
    {
        fIsRunning = true;
        fThread = std::jthread([this](const std::stop_token& inStop) { RunThread(inStop); });
    }
    catch (const std::system_error& error)
    {
        fIsRunning = false;
        LoggerLogMessage(kLogError, "%s", error.what());
    }
}

void ADeviceStatusMonitor::StopMonitoring()
{
    {
        const std::scoped_lock lock(fReportingMutex);
        fThread.request_stop();
        if (fThread.get_id() == std::this_thread::get_id())
        {
            return;
        }
    }
    // Without the lock, which the thread may be waiting for.
    if (fThread.joinable())
    {
        fThread.join();
    }
}

ADeviceStatusInfo ADeviceStatusMonitor::GetDeviceStatusInfo()
{
    const std::scoped_lock lock(fStatusMutex);
    return fCurrentStatus;
}

void ADeviceStatusMonitor::RunThread(const std::stop_token& inStop)
{
    try
    {
        MonitorDevice(inStop);
    }
    catch (const std::exception& exception)
    {
        LoggerLogMessage(kLogError, "%s", exception.what());
    }
    fIsRunning = false;
}

void ADeviceStatusMonitor::MonitorDevice(const std::stop_token& inStop)
{
    ADeviceStatusAccessor accessor(fDeviceURI, fFactory);
    if (!accessor.Resolve(inStop))
    {
        LogUnless(inStop.stop_requested(), "false");
        return;
    }
    AClock::time_point next = AClock::now();
    while (SleepUntil(next, inStop))
    {
        HandleTimer(accessor, inStop);
        // Times that went by while the device answered are left out.
        do
        {
            next += fInterval;
        } while (next < AClock::now());
    }
}

void ADeviceStatusMonitor::HandleTimer(ADeviceStatusAccessor& ioAccessor, const std::stop_token& inStop)
{
    const ADeviceStatusInfo newStatus = ioAccessor.GetDeviceStatusInfo(inStop);
    const std::scoped_lock lock(fReportingMutex);
    if (!inStop.stop_requested())
    {
        ReportDeviceStatus(fReportingDescriptor, GetDeviceStatusInfo(), newStatus);
        UpdateDeviceStatusInfo(newStatus);
    }
}

void ADeviceStatusMonitor::UpdateDeviceStatusInfo(const ADeviceStatusInfo& inNewStatus)
{
    const bool isChanged = SetDeviceStatusInfo(inNewStatus);
    const std::scoped_lock lock(fStatusMutex);
    if (isChanged && fDelegate != nullptr)
    {
        fDelegate->DeviceStatusHasBeenChanged(inNewStatus);
    }
}

bool ADeviceStatusMonitor::SetDeviceStatusInfo(const ADeviceStatusInfo& inNewStatus)
{
    const std::scoped_lock lock(fStatusMutex);
    const bool isChanged = fCurrentStatus != inNewStatus;
    if (isChanged)
    {
        fCurrentStatus = inNewStatus;
    }
    return isChanged;
}
