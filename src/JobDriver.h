#pragma once

#include "Foundation/CupsFile.h"

class ADocumentIterator;

/// The exit status of the filter.
enum AExitStatus : int
{
    kJobDone = 0,
    kJobFailed = 1, ///< usage error, start-up failure, or bytes of the job were lost
};

/// One job, from its arguments to its exit status (CUPS filter(7)): opens the files, decides what the job needs, builds
/// the processors, runs the one pass over the job and tells what was lost on the way.
///
/// The process-wide services start afresh with each driver, so there is one driver at a time.
class AJobDriver
{
public:
    static constexpr int kArgumentsForStdin = 6; ///< program, job id, user, title, copies, options
    static constexpr int kArgumentsForFile = 7;  ///< the same and the print file

    /// The argument count is one of the two above. The vectors are not copied and must outlive the driver.
    AJobDriver(int inArgumentCount, char** inArguments, char** inEnvironment);
    AJobDriver(const AJobDriver&) = delete;
    AJobDriver& operator=(const AJobDriver&) = delete;
    ~AJobDriver();

    [[nodiscard]] AExitStatus Run();

private:
    [[nodiscard]] bool OpenInput();
    [[nodiscard]] AExitStatus RunJob();
    [[nodiscard]] AExitStatus PrepareJob();
    [[nodiscard]] AExitStatus PreparePages(ADocumentIterator& ioIterator);
    [[nodiscard]] AExitStatus ProcessJob(ADocumentIterator& ioIterator);
    [[nodiscard]] AExitStatus FinishOutput();

    const int fArgumentCount;
    char** const fArguments;
    char** const fEnvironment;
    ACupsFile fInput;    ///< what is read: the job as it came, or a stored copy of it
    ACupsFile fReceived; ///< the job as it came
    ACupsFile fOutput;
};
