#pragma once

#include <atomic>
#include <list>
#include <memory>
#include <vector>

#include "Foundation/CupsFile.h"
#include "Foundation/FileReader.h"
#include "Foundation/ProcessingTask.h"

/// The engine of the filter: reads the job once, from start to end, and copies it to the output.
///
/// While a mandatory task is outstanding it looks at the lines that a task can match, and offers each to the tasks
/// before and after it is written. As soon as none is left it copies the rest in large blocks without looking at it.
/// The job always ends with the end-of-job byte 0x04.
///
/// TerminateIteration, PauseIteration and ResumeIteration may be called from any thread; everything else belongs to the
/// thread that iterates.
class ADocumentIterator
{
public:
    enum IterationMode : int
    {
        kIterationModeNormal = 0,
        kIterationModePassThrough = 1, ///< no task is ever registered
    };

    /// The files must outlive the iterator.
    ADocumentIterator(ACupsFile& ioInput, ACupsFile& ioOutput) : fInput(ioInput), fOutput(ioOutput) {}
    ADocumentIterator(const ADocumentIterator&) = delete;
    ADocumentIterator& operator=(const ADocumentIterator&) = delete;

    void SetIterationMode(IterationMode inMode) { fMode = inMode; }
    void SetUseByPageReading(bool inUse) { fUseByPageReading = inUse; }
    [[nodiscard]] ACupsFile& GetInputFile() { return fInput; }
    [[nodiscard]] ACupsFile& GetOutputFile() { return fOutput; }

    /// From now on a termination is obeyed, and the prolog is always read line by line.
    void SetShouldHandleTermination();

    /// Ends the job before its next page with a number above 1. Nothing unless terminations are handled.
    void TerminateIteration();

    /// Holds the job before its next page or block, what was written so far flushed to the device.
    void PauseIteration() { fIsPaused = true; }
    void ResumeIteration();

    /// Registers a task of the processor, which must outlive the iteration. During the processing of a line it takes
    /// effect with the next line.
    void RegisterTask(ILineProcessor& inProcessor, AProcessingTask::ADeclaration inDeclaration);

    /// Removes the tasks of that processor, pattern and order; during the processing of a line with the next line.
    void CompleteTask(const ILineProcessor& inProcessor, std::string_view inPattern, LineOrder inLineOrder);

    /// The one pass over the job.
    void IterateDocument();

    /// Logs the tables of outstanding tasks.
    void DumpTasks() const;

private:
    using ATaskList = std::list<std::unique_ptr<AProcessingTask>>;
    enum class AIterationEnd
    {
        kEndOfFile,
        kNoTaskLeft,
        kTerminated,
    };

    ATaskList& GetTasks(LineOrder inOrder) { return inOrder == kAfterLine ? fPostTasks : fPreTasks; }
    void RegisterTasks();
    void UnregisterTasks();
    void Unregister(const AProcessingTask& inTask);
    void UpdateTasks();
    [[nodiscard]] bool WillTasksChange() const { return !fPendingTasks.empty() || !fCompletedTasks.empty(); }
    [[nodiscard]] ALineNeedles CollectNeedles() const;
    [[nodiscard]] bool IsLineAwaited(std::string_view inComment) const;
    [[nodiscard]] static bool IsAwaitedIn(const ATaskList& inTasks, std::string_view inComment);

    AIterationEnd IterateByLines(bool& outEndsWithEndOfJob);
    AIterationEnd IterateByBlocks(bool& outEndsWithEndOfJob);
    [[nodiscard]] AJobLine ReadLine(bool& outIsEOF);
    [[nodiscard]] bool MayEnterPage(const AJobLine& inPageLine);
    void HandleLine(const AJobLine& inLine);
    [[nodiscard]] bool IsTrailerMissing(bool inPageWasSeen) const;
    [[nodiscard]] bool IsEndOfJob(const AJobLine& inLine);
    void HandleEndOfJob(const AJobLine& inLine);
    void HandleMissingTrailer();
    void HandleMissingLine(std::string_view inComment);
    void PerformTasksForLine(const AJobLine& inLine);
    [[nodiscard]] bool PerformPreTasks(APostScriptLineInfo& ioLine);
    void PerformPostTasks(APostScriptLineInfo& ioLine);
    [[nodiscard]] bool IsTerminationRequested() const;
    void WaitWhilePaused();

    ACupsFile& fInput;
    ACupsFile& fOutput;
    std::unique_ptr<AFileReader> fFileReader;
    IterationMode fMode = kIterationModeNormal;

    ATaskList fPreTasks;
    ATaskList fPostTasks;
    ATaskList fPendingTasks;
    std::vector<const AProcessingTask*> fCompletedTasks;
    int fTaskCount = 0; ///< outstanding reasons to read line by line
    bool fIsInLineProcessing = false;
    std::string fLineText; ///< of the line that is being processed
    bool fNeedlesAreStale = true;
    ALineNeedles fNeedles;

    bool fUseByPageReading = false;
    bool fHoldsForFirstPage = false; ///< one of the reasons is that no page was seen yet
    bool fSetupWasSeen = false;
    bool fPageWasSeen = false;
    bool fTrailerWasSeen = false;

    std::atomic<bool> fHandlesTermination = false;
    std::atomic<bool> fTerminateRequested = false;
    std::atomic<bool> fIsPaused = false;
};
