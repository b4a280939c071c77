#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <string_view>

#include <unistd.h>

#include "Foundation/DebugModule.h"
#include "Foundation/DocumentIterator.h"
#include "Foundation/PagesManager.h"
#include "Foundation/SettingsStore.h"
#include "Imaging/Logger.h"
#include "Imaging/StatusLine.h"
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

namespace
{

constexpr const char* kVersion = "5.2.0.615";
constexpr const char* kUsage = "vxpostprocessing job-id user title copies options [file]\n";

enum AExitStatus : int
{
    kJobDone = 0,
    kJobFailed = 1, ///< usage error, start-up failure, or bytes of the job were lost
};

constexpr int kArgumentsForStdin = 6;
constexpr int kArgumentsForFile = 7;

int Fail(const char* inMessage)
{
    LoggerLogMessage(kLogError, "%s", inMessage);
    return kJobFailed;
}

/// A job that lost bytes must not look whole: CUPS and the user are told, and the exit status says so.
int FailWithLoss(const char* inWhat, int inError)
{
    WriteStatusLine(STDERR_FILENO, std::string("ERROR: ") + inWhat + ": " + std::strerror(inError));
    return kJobFailed;
}

bool OpenInput(ACupsFile& outInput, int inArgumentCount, char** inArguments)
{
    if (inArgumentCount == kArgumentsForStdin)
    {
        return outInput.OpenStdinFile();
    }
    outInput = ACupsFile(inArguments[6]);
    return outInput.OpenForRead();
}

int AnswerWithoutJob(int inArgumentCount, char** inArguments)
{
    const bool asksVersion = inArgumentCount == 2 && std::string_view(inArguments[1]) == "-v";
    std::printf(asksVersion ? "%s\n" : "%s", asksVersion ? kVersion : kUsage);
    return asksVersion && std::fflush(stdout) == 0 ? kJobDone : kJobFailed;
}

/// The one pass over the job. The processors register their tasks as they are constructed, and tasks that match the
/// same line run in the order of their registration: this order is the order in which the features see a line. A
/// processor may also read a setting that an earlier one made.
void ProcessJob(ADocumentIterator& ioIterator)
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

    ioIterator.DumpTasks();
    ioIterator.IterateDocument();
    ioIterator.DumpTasks();
}

int RunJob(ACupsFile& ioInput, ACupsFile& ioOutput)
{
    ADebugModule& debugModule = ADebugModule::GetInstance();
    debugModule.StartExecutionTimeMeasurement();
    debugModule.PauseExecution(true);
    debugModule.ExecuteCommandsFromInitFile(ioInput, nullptr);
    if (debugModule.GetStorageError() != 0)
    {
        return FailWithLoss("Unable to copy the print job", debugModule.GetStorageError());
    }

    ADocumentIterator iterator(ioInput, ioOutput);
    APagesManager& pagesManager = APagesManager::GetInstance();
    const bool isReady = pagesManager.Initialize(ioInput);
    if (!isReady && pagesManager.GetStorageError() == 0)
    {
        return Fail("Error initializing pages manager\n");
    }
    if (isReady && !pagesManager.ReorderPages(ioInput))
    {
        LoggerLogMessage(kLogTrace, "Reordering failed. Switching to pass-through mode");
        iterator.SetIterationMode(ADocumentIterator::kIterationModePassThrough);
    }
    if (pagesManager.GetStorageError() != 0)
    {
        return FailWithLoss("Unable to store the print job", pagesManager.GetStorageError());
    }
    if (pagesManager.IsApplicable())
    {
        iterator.SetShouldHandleTermination();
        iterator.SetUseByPageReading(pagesManager.ShouldReorderPages());
    }

    ProcessJob(iterator);

    const bool isWhole = ioOutput.Finish();
    debugModule.StopExecutionTimeMeasurement();
    if (!isWhole)
    {
        return FailWithLoss("Unable to write the print job", ioOutput.GetWriteError());
    }
    if (ioInput.IsError() || pagesManager.IsInputCut())
    {
        WriteStatusLine(STDERR_FILENO, "ERROR: Unable to read the whole print job");
        return kJobFailed;
    }
    return kJobDone;
}

} // namespace

int main(int argc, char** argv, char** envp)
{
    // A closed pipe or a full file is an error of writing like any other: told, not deadly.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    LoggerSetLogLevel(kLogTrace);
    LoggerSetLogToFile(nullptr);
    LoggerSetFormat("DEBUG: %msg");
    std::setbuf(stderr, nullptr);
    if (argc != kArgumentsForStdin && argc != kArgumentsForFile)
    {
        return AnswerWithoutJob(argc, argv);
    }
    LoggerLogMessage(kLogTrace, "vxPostProcessing launched");

    ACupsFile input;
    if (!OpenInput(input, argc, argv))
    {
        return Fail(argc == kArgumentsForStdin
                        ? "Unable to redirect stdin\n"
                        : ("Unable to open print file \"" + std::string(argv[6]) + "\"\n").c_str());
    }
    ASettingsStore::GetInstance().Initialize(argc, argv, envp);
    ACupsFile output;
    if (!output.OpenStdoutFile())
    {
        return Fail("Error opening stdout\n");
    }
    const int status = RunJob(input, output);
    input.Close();
    return status;
}
