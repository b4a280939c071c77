#include "Foundation/DocumentIterator.h"

#include <algorithm>
#include <utility>

#include "Foundation/PageReader.h"
#include "Foundation/PagesManager.h"
#include "Imaging/Logger.h"
#include "Imaging/PostScriptText.h"

namespace
{

constexpr std::size_t kBlockSize = 131070;
constexpr char kEndOfJob = '\x04';
constexpr std::string_view kLineEnds = "\r\n";
constexpr std::string_view kEndOfJobAndLineEnds = "\x04\r\n";
constexpr const char* kRule = "------------------------------------------------------";

constexpr std::string_view kPage = "%%Page:";
constexpr std::string_view kEndSetup = "%%EndSetup";
constexpr std::string_view kTrailer = "%%Trailer";

} // namespace

void ADocumentIterator::SetShouldHandleTermination()
{
    LoggerLogMessage(kLogTrace, "Allowing document iterator to handle job termination...");
    fHandlesTermination = true;
}

void ADocumentIterator::TerminateIteration()
{
    if (fHandlesTermination)
    {
        LoggerLogMessage(kLogTrace, "Terminating iteration");
        fTerminateRequested = true;
        ResumeIteration();
    }
}

void ADocumentIterator::ResumeIteration()
{
    fIsPaused = false;
    fIsPaused.notify_all();
}

bool ADocumentIterator::IsTerminationRequested() const
{
    LogEnteredFunction();
    return fTerminateRequested;
}

void ADocumentIterator::WaitWhilePaused()
{
    LogEnteredFunction();
    if (fIsPaused)
    {
        // The device gets what there is while the job waits; a failure is told at the end.
        static_cast<void>(fOutput.Finish());
        fIsPaused.wait(true);
    }
}

void ADocumentIterator::RegisterTask(ILineProcessor& inProcessor, AProcessingTask::ADeclaration inDeclaration)
{
    if (fMode == kIterationModePassThrough)
    {
        return;
    }
    fPendingTasks.push_back(std::make_unique<AProcessingTask>(inProcessor, std::move(inDeclaration)));
    if (!fIsInLineProcessing)
    {
        RegisterTasks();
    }
}

void ADocumentIterator::RegisterTasks()
{
    while (!fPendingTasks.empty())
    {
        const AProcessingTask& task = *fPendingTasks.front();
        fTaskCount += task.IsOptional() ? 0 : 1;
        ATaskList& tasks = GetTasks(task.GetLineOrder());
        tasks.splice(tasks.end(), fPendingTasks, fPendingTasks.begin());
        fNeedlesAreStale = true;
    }
}

void ADocumentIterator::CompleteTask(const ILineProcessor& inProcessor, std::string_view inPattern,
                                     LineOrder inLineOrder)
{
    for (const auto& task : GetTasks(inLineOrder))
    {
        if (&task->GetProcessor() == &inProcessor && task->GetPattern() == inPattern)
        {
            fCompletedTasks.push_back(task.get());
        }
    }
    if (!fIsInLineProcessing)
    {
        UnregisterTasks();
    }
}

void ADocumentIterator::UnregisterTasks()
{
    // A task that completed twice during a line stands twice in the list; only its address is looked at then.
    for (const AProcessingTask* task : std::exchange(fCompletedTasks, {}))
    {
        const auto isTask = [task](const auto& inOther) { return inOther.get() == task; };
        for (ATaskList* tasks : {&fPreTasks, &fPostTasks})
        {
            const auto found = std::find_if(tasks->begin(), tasks->end(), isTask);
            if (found != tasks->end())
            {
                Unregister(**found);
                tasks->erase(found);
                break;
            }
        }
    }
}

void ADocumentIterator::Unregister(const AProcessingTask& inTask)
{
    LoggerLogMessage(kLogTrace, "Task \"%s\" complete. Processor - %s. Line - %s", inTask.GetDescription().c_str(),
                     inTask.GetProcessor().GetName(), inTask.GetPattern().c_str());
    fTaskCount -= inTask.IsOptional() ? 0 : 1;
    fNeedlesAreStale = true;
}

void ADocumentIterator::UpdateTasks()
{
    RegisterTasks();
    UnregisterTasks();
}

ALineNeedles ADocumentIterator::CollectNeedles() const
{
    std::vector<std::string> needles = fFileReader->GetOwnNeedles();
    for (const ATaskList* tasks : {&fPreTasks, &fPostTasks})
    {
        for (const auto& task : *tasks)
        {
            if (task->CanMatch())
            {
                needles.push_back(task->GetNeedle());
            }
        }
    }
    return ALineNeedles(needles);
}

bool ADocumentIterator::IsAwaitedIn(const ATaskList& inTasks, std::string_view inComment)
{
    return std::any_of(inTasks.begin(), inTasks.end(),
                       [&](const auto& inTask) { return !inTask->IsOptional() && inTask->GetPattern() == inComment; });
}

bool ADocumentIterator::IsLineAwaited(std::string_view inComment) const
{
    return IsAwaitedIn(fPreTasks, inComment) || IsAwaitedIn(fPostTasks, inComment);
}

void ADocumentIterator::IterateDocument()
{
    if (fUseByPageReading)
    {
        fFileReader = std::make_unique<APageReader>(fInput, APagesManager::GetInstance());
        ++fTaskCount;
    }
    else
    {
        fFileReader = std::make_unique<AFileReader>(fInput, APagesManager::GetInstance());
    }
    bool endsWithEndOfJob = false;
    const AIterationEnd end = IterateByLines(endsWithEndOfJob);
    if (end == AIterationEnd::kNoTaskLeft)
    {
        IterateByBlocks(endsWithEndOfJob);
    }
    if (fTerminateRequested)
    {
        HandleMissingTrailer();
        fOutput.Write("%%EOF");
    }
    if (!endsWithEndOfJob)
    {
        fOutput.Write({&kEndOfJob, 1});
        LoggerLogMessage(kLogTrace, "'^D' added\n");
    }
}

ADocumentIterator::AIterationEnd ADocumentIterator::IterateByLines(bool& outEndsWithEndOfJob)
{
    LoggerLogMessage(kLogTrace, "Using line-by-line file iteration...\n");
    fHoldsForFirstPage = fHandlesTermination;
    fTaskCount += fHoldsForFirstPage ? 1 : 0;
    bool isEOF = false;
    while (!isEOF && fTaskCount != 0 && fOutput.GetWriteError() == 0)
    {
        // Processors may read on in the same file while they handle the line.
        const AJobLine read = ReadLine(isEOF);
        fLineText = read.fText;
        const AJobLine line{fLineText, read.fStart};
        outEndsWithEndOfJob = isEOF && line.GetVisibleText().find(kEndOfJob) != std::string_view::npos;
        if (line.fText.empty())
        {
            continue;
        }
        if (line.Holds(kPage) && !MayEnterPage(line))
        {
            return AIterationEnd::kTerminated;
        }
        UpdateTasks();
        HandleLine(line);
    }
    if (!isEOF)
    {
        return AIterationEnd::kNoTaskLeft;
    }
    HandleMissingTrailer();
    return AIterationEnd::kEndOfFile;
}

/// While the table of tasks is about to change, the very next line decides by which tasks it is seen, and whether the
/// job goes on in blocks after it.
AJobLine ADocumentIterator::ReadLine(bool& outIsEOF)
{
    if (WillTasksChange())
    {
        return fFileReader->ReadLine(outIsEOF);
    }
    if (fNeedlesAreStale)
    {
        fNeedles = CollectNeedles();
        fNeedlesAreStale = false;
    }
    return fFileReader->CopyToLine(fNeedles, fOutput, outIsEOF);
}

bool ADocumentIterator::MayEnterPage(const AJobLine& inPageLine)
{
    if (fHandlesTermination)
    {
        fTaskCount -= std::exchange(fHoldsForFirstPage, false) ? 1 : 0;
        const auto page = PSF::GetPageInfoFromPSPageInvocation(inPageLine.GetVisibleText());
        if (IsTerminationRequested() && page && page->fOrdinal > 1)
        {
            LoggerLogMessage(kLogTrace, "Terminating iteration on page %d...", page->fOrdinal);
            return false;
        }
    }
    WaitWhilePaused();
    return true;
}

void ADocumentIterator::HandleLine(const AJobLine& inLine)
{
    if (IsTrailerMissing(fPageWasSeen || inLine.Holds(kPage)) && IsEndOfJob(inLine))
    {
        HandleEndOfJob(inLine);
        return;
    }
    if (inLine.Holds(kPage) && !fPageWasSeen && !fSetupWasSeen && IsLineAwaited(kEndSetup))
    {
        HandleMissingLine(kEndSetup);
        UpdateTasks();
    }
    fSetupWasSeen = fSetupWasSeen || inLine.Holds(kEndSetup);
    fPageWasSeen = fPageWasSeen || inLine.Holds(kPage);
    fTrailerWasSeen = fTrailerWasSeen || inLine.Holds(kTrailer);
    PerformTasksForLine(inLine);
}

bool ADocumentIterator::IsTrailerMissing(bool inPageWasSeen) const
{
    return inPageWasSeen && !fTrailerWasSeen && !fInput.IsError() && IsLineAwaited(kTrailer);
}

/// True when the line ends with the end-of-job byte and nothing but such bytes and line ends follows it in the job.
bool ADocumentIterator::IsEndOfJob(const AJobLine& inLine)
{
    const std::string_view text = inLine.fText;
    return text.substr(0, text.find_last_not_of(kLineEnds) + 1).ends_with(kEndOfJob) &&
           fInput.IsRestOf(kEndOfJobAndLineEnds);
}

/// The printer takes nothing that stands behind the end-of-job byte for a part of this job.
void ADocumentIterator::HandleEndOfJob(const AJobLine& inLine)
{
    const std::size_t bodySize = inLine.fText.find_last_not_of(kEndOfJobAndLineEnds) + 1;
    if (bodySize != 0)
    {
        HandleLine({inLine.fText.substr(0, bodySize), inLine.fStart});
    }
    HandleMissingTrailer();
    fOutput.Write(inLine.fText.substr(bodySize));
}

void ADocumentIterator::HandleMissingTrailer()
{
    if (IsTrailerMissing(fPageWasSeen))
    {
        HandleMissingLine(kTrailer);
    }
}

void ADocumentIterator::HandleMissingLine(std::string_view inComment)
{
    if (!IsLineEnd(fOutput.GetLastWritten()))
    {
        fOutput.Write("\n");
    }
    UpdateTasks();
    const std::string text = std::string(inComment) + "\n";
    HandleLine({text, ALineStart::kAtLineStart});
}

void ADocumentIterator::PerformTasksForLine(const AJobLine& inLine)
{
    fIsInLineProcessing = true;
    APostScriptLineInfo before(inLine, kBeforeLine);
    const bool isKept = PerformPreTasks(before);
    if (inLine.Holds(kPage))
    {
        const unsigned number = fFileReader->GetCurrentPageNumber();
        APagesManager::GetInstance().SetCurrentPageNumber(number);
        LoggerLogMessage(kLogTrace, "Current page number is %d\n", static_cast<int>(number));
    }
    if (isKept)
    {
        fOutput.Write(before.GetText());
        APostScriptLineInfo after(before.GetLine(), kAfterLine);
        PerformPostTasks(after);
    }
    fIsInLineProcessing = false;
}

bool ADocumentIterator::PerformPreTasks(APostScriptLineInfo& ioLine)
{
    for (const auto& task : fPreTasks)
    {
        const AProcessingTask::ProcessingStatus status = task->PerformTask(ioLine);
        LogUnless(AProcessingTask::kProcessingError != status, "AProcessingTask::kProcessingError != inReturnStatus");
        if (status == AProcessingTask::kLineSkipped)
        {
            return false;
        }
    }
    return true;
}

void ADocumentIterator::PerformPostTasks(APostScriptLineInfo& ioLine)
{
    for (const auto& task : fPostTasks)
    {
        const AProcessingTask::ProcessingStatus status = task->PerformTask(ioLine);
        LogUnless(AProcessingTask::kProcessingError != status, "AProcessingTask::kProcessingError != inReturnStatus");
        LogUnless(AProcessingTask::kLineSkipped != status, "AProcessingTask::kLineSkipped != inReturnStatus");
        LogUnless(AProcessingTask::kLineModified != status, "AProcessingTask::kLineModified != inReturnStatus");
    }
}

ADocumentIterator::AIterationEnd ADocumentIterator::IterateByBlocks(bool& outEndsWithEndOfJob)
{
    LoggerLogMessage(kLogTrace, "Using optimized file iteration...\n");
    // What comes slowly goes on at once: a block that is not yet whole is copied in parts. It still counts as one when
    // the end of the job looks for its last byte.
    std::size_t done = 0;
    while (fOutput.GetWriteError() == 0 && fInput.HasMore(kBlockSize - done))
    {
        WaitWhilePaused();
        outEndsWithEndOfJob = outEndsWithEndOfJob && done != 0;
        done += fInput.CopyAvailable(fOutput, kBlockSize - done, kEndOfJob, outEndsWithEndOfJob);
        done %= kBlockSize;
        // A failure stays with the file and is told at the end.
        static_cast<void>(fOutput.Finish());
        if (IsTerminationRequested())
        {
            LoggerLogMessage(kLogTrace, "Switching to line-by-line iteration due to SIGTERM");
            ++fTaskCount;
            return IterateByLines(outEndsWithEndOfJob);
        }
    }
    LogUnless(!fInput.IsError(), "!inFileReader.IsError()");
    return AIterationEnd::kEndOfFile;
}

void ADocumentIterator::DumpTasks() const
{
    LoggerLogMessage(kLogTrace, "%s", kRule);
    LoggerLogMessage(kLogTrace, "Pre-processing tasks:");
    for (const auto& task : fPreTasks)
    {
        LoggerLogMessage(kLogTrace, "%s", task->GetDebugDescription().c_str());
    }
    LoggerLogMessage(kLogTrace, "Post-processing tasks:");
    for (const auto& task : fPostTasks)
    {
        LoggerLogMessage(kLogTrace, "%s", task->GetDebugDescription().c_str());
    }
    LoggerLogMessage(kLogTrace, "%s", kRule);
}
