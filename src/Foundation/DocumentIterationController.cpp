#include "Foundation/DocumentIterationController.h"

#include <unistd.h>

#include "Imaging/Localization.h"
#include "Imaging/PPDKeywords.h"
#include "Imaging/StatusLine.h"
#include "Imaging/TextComparison.h"

namespace
{

constexpr unsigned kLongSleep = 10000; ///< seconds

std::optional<std::string> GetDeviceURI()
{
    const char* const uri = ASettingsStore::GetEnvironmentVariable("DEVICE_URI");
    return uri != nullptr ? std::optional<std::string>(uri) : std::nullopt;
}

[[noreturn]] void WaitToBeCancelled()
{
    for (;;)
    {
        sleep(kLongSleep);
    }
}

} // namespace

ADocumentIterationController::~ADocumentIterationController()
{
    // The monitoring thread must find the controller whole to its end.
    if (fMonitor != nullptr)
    {
        fMonitor->StopMonitoring();
    }
}

void ADocumentIterationController::Initialize()
{
    const APPDInfo* const ppd = GetSettingsStore().GetPPDInfo();
    const auto isSupported = ppd != nullptr ? ppd->GetValue("VXSupportDeviceStatusMonitoring") : std::nullopt;
    if (!isSupported || !EqualWithoutCase(*isSupported, kTrueValueRef))
    {
        return;
    }
    ReportInitialStatusToProxyWindow();
    fIterator.SetShouldHandleTermination();
    fMonitor = std::make_unique<ADeviceStatusMonitor>(GetDeviceURI(), STDERR_FILENO, fInterval);
    fMonitor->SetDelegate(this);
    fMonitor->StartMonitoring();
}

void ADocumentIterationController::ReportInitialStatusToProxyWindow()
{
    WriteStatusLine(STDERR_FILENO, "INFO:" + CreateLocalizedString("Printing"));
}

void ADocumentIterationController::DeviceStatusHasBeenChanged(const ADeviceStatusInfo& inNewStatus)
{
    switch (inNewStatus.GetStatusType())
    {
    case ADeviceStatusType::kCancelingJob:
        fMonitor->StopMonitoring();
        fIterator.ResumeIteration();
        break;
    case ADeviceStatusType::kFatalError:
        fMonitor->StopMonitoring();
        fIterator.TerminateIteration();
        break;
    case ADeviceStatusType::kRecoverableError:
        fIterator.PauseIteration();
        break;
    case ADeviceStatusType::kUnknown:
        break;
    case ADeviceStatusType::kNormal:
    case ADeviceStatusType::kWarning:
        fIterator.ResumeIteration();
        break;
    }
}

void ADocumentIterationController::DocumentIterationHasBeenFinished()
{
    if (fMonitor == nullptr)
    {
        return;
    }
    fMonitor->StopMonitoring();
    if (fMonitor->GetDeviceStatusInfo().GetStatusType() == ADeviceStatusType::kFatalError)
    {
        WaitToBeCancelled();
    }
}
