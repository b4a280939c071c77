#pragma once

#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/CupsFile.h"
#include "Foundation/FilterObject.h"

/// Field diagnosis: a support engineer drops a command file at a fixed path on the print host, and the next jobs leave
/// copies of their settings, arguments, environment, input and printer description under "/tmp", or wait for a
/// debugger. Also measures the run time of the job for the log.
///
/// Everything here is best effort: what cannot be opened is skipped, and no command stops the job. The command file and
/// the pause trigger count only when they are regular files that belong to root or to the filter's own user and that
/// nobody else may write.
class ADebugModule final : public AFilterObject
{
public:
    static ADebugModule& GetInstance();

    /// For GetInstance.
    ADebugModule() = default;

    /// Executes the commands of the file at inPath (null: "/tmp/vxpsfilterinit"), one a line. A command that copies the
    /// input makes ioJobFile the copy, rewound.
    void ExecuteCommandsFromInitFile(ACupsFile& ioJobFile, const char* inPath);

    /// Waits for a signal. With inOnlyIfTriggered only when "/tmp/vxpsfilter" exists.
    void PauseExecution(bool inOnlyIfTriggered) const;

    void StartExecutionTimeMeasurement();
    void StopExecutionTimeMeasurement() const;

    /// The errno that a copy of the input failed with when what it had read is lost with it; 0: nothing was lost.
    [[nodiscard]] int GetStorageError() const { return fStorageError; }

private:
    struct ACommand
    {
        const char* fName;
        const char* fShortName;
        void (ADebugModule::*fRun)(ACupsFile& ioJobFile, const std::vector<std::string>& inComponents);
    };

    static const ACommand kCommands[];

    void ExecuteCommand(ACupsFile& ioJobFile, const std::vector<std::string>& inComponents);
    void RunDumpJobSettings(ACupsFile& ioJobFile, const std::vector<std::string>& inComponents);
    void RunDumpCommandLineArguments(ACupsFile& ioJobFile, const std::vector<std::string>& inComponents);
    void RunDumpEnvironmentVariables(ACupsFile& ioJobFile, const std::vector<std::string>& inComponents);
    void RunDumpInputPostScript(ACupsFile& ioJobFile, const std::vector<std::string>& inComponents);
    void RunPauseExecution(ACupsFile& ioJobFile, const std::vector<std::string>& inComponents);
    void RunSavePPDFile(ACupsFile& ioJobFile, const std::vector<std::string>& inComponents);
    void RunCreateTestCase(ACupsFile& ioJobFile, const std::vector<std::string>& inComponents);

    static void DumpJobSettings(bool inDetailed, const std::string& inPath);
    static void DumpCommandLineArguments(const std::string& inPath);
    static void DumpEnvironmentVariables(const std::string& inPath);
    void DumpInputPostScript(ACupsFile& ioJobFile, const std::string& inPath);
    static void SavePPDFile(const std::string& inPath);

    std::time_t fStartTime = 0;
    int fStorageError = 0;
};

/// The text less its last character (the line's end), cut at each separator.
[[nodiscard]] std::vector<std::string> ComponentsSeparatedByString(std::string_view inText,
                                                                   std::string_view inSeparator);

/// The folder of a test case below "/tmp": made with mode 0777, with a slash at its end. Empty when it cannot be made,
/// when its name holds a ".." component, or when a link stands on the way to it.
[[nodiscard]] std::string MakeTestCaseFolder(const std::string& inName);
