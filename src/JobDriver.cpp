#include "JobDriver.h"

#include <cstring>
#include <string>

#include <unistd.h>

#include "Foundation/DebugModule.h"
#include "Foundation/DocumentIterationController.h"
#include "Foundation/DocumentIterator.h"
#include "Foundation/PagesManager.h"
#include "Foundation/ProcessWide.h"
#include "Foundation/SettingsStore.h"
#include "Imaging/Logger.h"
#include "Imaging/StatusLine.h"
#include "Monitors/DeviceStatusMonitor/ConstructionFailedException.h"
#include "Processors/AccountingProcessor.h"
#include "Processors/BookletProcessor.h"
#include "Processors/CollationProcessor.h"
#include "Processors/CustomMediaTypeProcessor.h"
#include "Processors/CustomPageSizeProcessor.h"
#include "Processors/EmbeddedDocumentCounter.h"
#include "Processors/GrayBalanceProcessor.h"
#include "Processors/ImageShiftProcessor.h"
#include "Processors/JobStorageProcessor.h"
#include "Processors/LightnessAndHueProcessor.h"
#include "Processors/ManualDuplexProcessor.h"
#include "Processors/MarginLayoutProcessor.h"
#include "Processors/MirrorPrintProcessor.h"
#include "Processors/OrientationProcessor.h"
#include "Processors/PaperFeedProcessor.h"
#include "Processors/RenderingProcessor.h"
#include "Processors/SmartDuplexProcessor.h"
#include "Processors/TBCPProcessor.h"
#include "Processors/WatermarksProcessor.h"
#include "Processors/WebPreviewProcessor.h"
#include "Utilities/WebPreviewLauncher.h"

namespace
{

constexpr int kPrintFileArgument = 6;

void ForgetServices()
{
    AProcessWide<ADebugModule>::Forget();
    AProcessWide<APagesManager>::Forget();
    AProcessWide<ASettingsStore>::Forget();
}

AExitStatus Fail(const std::string& inMessage)
{
    LoggerLogMessage(kLogError, "%s", inMessage.c_str());
    return kJobFailed;
}

/// A job that lost bytes must not look whole: CUPS and the user are told, and the exit status says so.
AExitStatus FailWithLoss(const char* inWhat, int inError)
{
    WriteStatusLine(STDERR_FILENO, std::string("ERROR: ") + inWhat + ": " + std::strerror(inError));
    return kJobFailed;
}

} // namespace

AJobDriver::AJobDriver(int inArgumentCount, char** inArguments, char** inEnvironment)
    : fArgumentCount(inArgumentCount), fArguments(inArguments), fEnvironment(inEnvironment)
{
    ForgetServices();
}

AJobDriver::~AJobDriver()
{
    // The settings store refers to the vectors.
    ForgetServices();
}

AExitStatus AJobDriver::Run()
{
    if (!OpenInput())
    {
        return Fail(fArgumentCount == kArgumentsForStdin
                        ? "Unable to redirect stdin\n"
                        : "Unable to open print file \"" + std::string(fArguments[kPrintFileArgument]) + "\"\n");
    }
    ASettingsStore::GetInstance().Initialize(fArgumentCount, fArguments, fEnvironment);
    if (!fOutput.OpenStdoutFile())
    {
        return Fail("Error opening stdout\n");
    }
    fReceived = fInput;
    const AExitStatus status = PrepareJob();
    return status == kJobDone ? RunJob() : status;
}

bool AJobDriver::OpenInput()
{
    if (fArgumentCount == kArgumentsForStdin)
    {
        return fInput.OpenStdinFile();
    }
    fInput = ACupsFile(fArguments[kPrintFileArgument]);
    return fInput.OpenForRead();
}

AExitStatus AJobDriver::PrepareJob()
{
    ADebugModule& debugModule = ADebugModule::GetInstance();
    debugModule.StartExecutionTimeMeasurement();
    debugModule.PauseExecution(true);
    debugModule.ExecuteCommandsFromInitFile(fInput, nullptr);
    return debugModule.GetStorageError() == 0
               ? kJobDone
               : FailWithLoss("Unable to copy the print job", debugModule.GetStorageError());
}

AExitStatus AJobDriver::RunJob()
{
    ADocumentIterator iterator(fInput, fOutput);
    const AExitStatus status = PreparePages(iterator);
    if (status != kJobDone)
    {
        return status;
    }
    try
    {
        return ProcessJob(iterator);
    }
    catch (const AConstructionFailedException& exception)
    {
        return Fail(exception.what());
    }
}

/// The whole job comes before its first output: what cannot be stored has not been printed in part.
AExitStatus AJobDriver::PreparePages(ADocumentIterator& ioIterator)
{
    APagesManager& pagesManager = APagesManager::GetInstance();
    const bool isReady = pagesManager.Initialize(fInput);
    if (!isReady && pagesManager.GetStorageError() == 0)
    {
        return Fail("Error initializing pages manager\n");
    }
    if (isReady && !pagesManager.ReorderPages(fInput))
    {
        LoggerLogMessage(kLogTrace, "Reordering failed. Switching to pass-through mode");
        ioIterator.SetIterationMode(ADocumentIterator::kIterationModePassThrough);
    }
    if (pagesManager.GetStorageError() != 0)
    {
        return FailWithLoss("Unable to store the print job", pagesManager.GetStorageError());
    }
    if (pagesManager.IsApplicable())
    {
        ioIterator.SetShouldHandleTermination();
        ioIterator.SetUseByPageReading(pagesManager.ShouldReorderPages());
    }
    return kJobDone;
}

/// The one pass over the job. The processors register their tasks as they are constructed, and tasks that match the
/// same line run in the order of their registration: this order is the order in which the features see a line. A
/// processor may also read a setting that an earlier one made.
AExitStatus AJobDriver::ProcessJob(ADocumentIterator& ioIterator)
{
    const APaperFeedProcessor paperFeed(ioIterator);
    const AMirrorPrintProcessor mirrorPrint(ioIterator);
    const AOrientationProcessor orientation(ioIterator);
    const AManualDuplexProcessor manualDuplex(ioIterator);
    const ABookletProcessor booklet(ioIterator);
    const ACustomMediaTypeProcessor customMediaType(ioIterator);
    const AImageShiftProcessor imageShift(ioIterator);
    const AGrayBalanceProcessor grayBalance(ioIterator);
    const ALightnessAndHueProcessor lightnessAndHue(ioIterator);
    const AWatermarksProcessor watermarks(ioIterator);
    const AWebPreviewProcessor webPreview(ioIterator);
    const AAccountingProcessor accounting(ioIterator);
    const AJobStorageProcessor jobStorage(ioIterator);
    const ACollationProcessor collation(ioIterator);
    const AEmbeddedDocumentCounter embeddedDocuments(ioIterator);
    const ATBCPProcessor tbcp(ioIterator);
    const ACustomPageSizeProcessor customPageSize(ioIterator);
    const AMarginLayoutProcessor marginLayout(ioIterator);
    const ASmartDuplexProcessor smartDuplex(ioIterator);
    const ARenderingProcessor rendering(ioIterator);

    ADocumentIterationController controller(ioIterator);
    controller.Initialize();
    ioIterator.DumpTasks();
    ioIterator.IterateDocument();
    ioIterator.DumpTasks();

    const AExitStatus status = FinishOutput();
    if (status == kJobDone)
    {
        controller.DocumentIterationHasBeenFinished();
        AWebPreviewLauncher().OpenWebPreview();
    }
    return status;
}

/// Tells what was lost on the way, if anything was.
AExitStatus AJobDriver::FinishOutput()
{
    const bool isWhole = fOutput.Finish();
    ADebugModule::GetInstance().StopExecutionTimeMeasurement();
    if (!isWhole)
    {
        return FailWithLoss("Unable to write the print job", fOutput.GetWriteError());
    }
    const int readError = fReceived.IsError() ? fReceived.GetReadError() : fInput.GetReadError();
    return readError == 0 ? kJobDone : FailWithLoss("Unable to read the whole print job", readError);
}
