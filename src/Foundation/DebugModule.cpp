#include "Foundation/DebugModule.h"

#include <array>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Foundation/ProcessWide.h"
#include "Imaging/HostFacts.h"
#include "Imaging/Logger.h"
#include "Imaging/TextComparison.h"

namespace
{

constexpr const char* kInitFile = "/tmp/vxpsfilterinit";
constexpr const char* kPauseTriggerFile = "/tmp/vxpsfilter";
constexpr std::string_view kCommandSeparator = ";;";
constexpr const char* kJobSettingsFile = "/tmp/job_settings.txt";
constexpr const char* kInputFile = "/tmp/job.ps";
constexpr const char* kArgumentsFile = "/tmp/parameters.txt";
constexpr const char* kEnvironmentFile = "/tmp/environment.txt";
constexpr const char* kPPDCopy = "/tmp/printer.ppd";
constexpr const char* kRule = "------------------------------------------------------\n";

constexpr int kTitleArgument = 3;
constexpr int kJobIdArgument = 1;
constexpr int kOptionsArgument = 5;
constexpr int kPrintFileArgument = 6;

std::string GetArgument(int inIndex)
{
    const char* const argument = ASettingsStore::GetInstance().GetCommandLineParameter(inIndex);
    return argument != nullptr ? argument : "";
}

/// A file that the support engineer can read and remove, whoever the filter runs as.
class ADump
{
public:
    explicit ADump(const std::string& inPath) : fFile(inPath)
    {
        if (fFile.OpenForDump())
        {
            fchmod(fFile.GetFileDescriptor(), 0666);
        }
    }
    ~ADump() { fFile.Close(); }
    ADump(const ADump&) = delete;
    ADump& operator=(const ADump&) = delete;

    void Write(std::string_view inText) { fFile.Write(inText); }

private:
    ACupsFile fFile;
};

void CopyWhole(ACupsFile& ioFrom, ACupsFile& outTo)
{
    bool isIgnored = false;
    ioFrom.CopyBlock(outTo, SIZE_MAX, '\0', isIgnored);
}

void WakeUp(int) {}

} // namespace

const ADebugModule::ACommand ADebugModule::kCommands[] = {
    {"DumpJobSettings", "djs", &ADebugModule::RunDumpJobSettings},
    {"DumpCommandLineArguments", "dcla", &ADebugModule::RunDumpCommandLineArguments},
    {"DumpEnvironmentVariables", "dev", &ADebugModule::RunDumpEnvironmentVariables},
    {"DumpInputPostScript", "dips", &ADebugModule::RunDumpInputPostScript},
    {"PauseExecution", "pe", &ADebugModule::RunPauseExecution},
    {"SavePPDFile", "ppd", &ADebugModule::RunSavePPDFile},
    {"CreateTestCase", "ctc", &ADebugModule::RunCreateTestCase},
};

ADebugModule& ADebugModule::GetInstance()
{
    return AProcessWide<ADebugModule>::Get();
}

void ADebugModule::ExecuteCommandsFromInitFile(ACupsFile& ioJobFile, const char* inPath)
{
    const char* const path = inPath != nullptr ? inPath : kInitFile;
    ACupsFile commands{std::string(path)};
    if (!IsTrustedFile(path) || !commands.OpenForRead())
    {
        return;
    }
    for (bool isEOF = false; !isEOF;)
    {
        const std::string line(commands.ReadLine(isEOF).GetVisibleText());
        if (!line.empty())
        {
            LoggerLogMessage(kLogTrace, "Debug module init file line: %s\n", line.c_str());
            ExecuteCommand(ioJobFile, ComponentsSeparatedByString(line, kCommandSeparator));
        }
    }
    commands.Close();
}

/// Any beginning of a name selects it: a lone "d" is DumpJobSettings.
void ADebugModule::ExecuteCommand(ACupsFile& ioJobFile, const std::vector<std::string>& inComponents)
{
    const std::string& name = inComponents.front();
    for (const ACommand& command : kCommands)
    {
        const bool isSelected =
            StartsWithWithoutCase(command.fName, name) || StartsWithWithoutCase(command.fShortName, name);
        if (!name.empty() && isSelected)
        {
            (this->*command.fRun)(ioJobFile, inComponents);
            return;
        }
    }
}

void ADebugModule::RunDumpJobSettings(ACupsFile&, const std::vector<std::string>& inComponents)
{
    const bool isDetailed = inComponents.size() == 2 && (inComponents[1] == "true" || inComponents[1] == "1");
    DumpJobSettings(isDetailed, kJobSettingsFile);
}

void ADebugModule::RunDumpCommandLineArguments(ACupsFile&, const std::vector<std::string>&)
{
    DumpCommandLineArguments(kArgumentsFile);
}

void ADebugModule::RunDumpEnvironmentVariables(ACupsFile&, const std::vector<std::string>&)
{
    DumpEnvironmentVariables(kEnvironmentFile);
}

void ADebugModule::RunDumpInputPostScript(ACupsFile& ioJobFile, const std::vector<std::string>&)
{
    DumpInputPostScript(ioJobFile, kInputFile);
}

void ADebugModule::RunPauseExecution(ACupsFile&, const std::vector<std::string>&)
{
    PauseExecution(false);
}

void ADebugModule::RunSavePPDFile(ACupsFile&, const std::vector<std::string>&)
{
    SavePPDFile(kPPDCopy);
}

void ADebugModule::RunCreateTestCase(ACupsFile& ioJobFile, const std::vector<std::string>&)
{
    const std::string folder = MakeTestCaseFolder(GetArgument(kTitleArgument) + GetArgument(kJobIdArgument));
    if (!folder.empty())
    {
        DumpEnvironmentVariables(folder + "environment.txt");
        DumpInputPostScript(ioJobFile, folder + "job.ps");
        DumpJobSettings(false, folder + "job_settings.txt");
        SavePPDFile(folder + "printer.ppd");
    }
}

void ADebugModule::PauseExecution(bool inOnlyIfTriggered) const
{
    if (inOnlyIfTriggered && !IsTrustedFile(kPauseTriggerFile))
    {
        return;
    }
    // A continue must wake the process up; by itself it has no effect on one that is not stopped.
    struct sigaction wake = {};
    struct sigaction before = {};
    wake.sa_handler = WakeUp;
    sigaction(SIGCONT, &wake, &before);
    sigset_t blocked;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGHUP);
    sigaddset(&blocked, SIGQUIT);
    sigsuspend(&blocked);
    sigaction(SIGCONT, &before, nullptr);
}

void ADebugModule::DumpJobSettings(bool inDetailed, const std::string& inPath)
{
    ADump dump(inPath);
    if (!inDetailed)
    {
        dump.Write(GetArgument(kOptionsArgument));
        return;
    }
    for (const cups_option_t& option : GetSettingsStore().GetCUPSOptions())
    {
        dump.Write(std::string(option.name) + "=" + option.value + "\n");
    }
}

void ADebugModule::DumpCommandLineArguments(const std::string& inPath)
{
    ADump dump(inPath);
    for (int i = 0; GetSettingsStore().GetCommandLineParameter(i) != nullptr; ++i)
    {
        dump.Write("argv[" + std::to_string(i) + "]=\"" + GetArgument(i) + "\"\n");
    }
}

void ADebugModule::DumpEnvironmentVariables(const std::string& inPath)
{
    ADump dump(inPath);
    for (char** entry = GetSettingsStore().GetEnvironmentVariables(); entry != nullptr && *entry != nullptr; ++entry)
    {
        dump.Write(std::string(*entry) + "\n");
    }
}

void ADebugModule::DumpInputPostScript(ACupsFile& ioJobFile, const std::string& inPath)
{
    // The job is read from the copy afterwards; a second copy to the same place would empty what it is made from.
    ACupsFile copy(inPath);
    if (!copy.OpenForDump(&ioJobFile))
    {
        return;
    }
    fchmod(copy.GetFileDescriptor(), 0666);
    CopyWhole(ioJobFile, copy);
    if (!copy.Finish())
    {
        const bool isReadable = ioJobFile.SetPosition(0, SEEK_SET) == 0;
        fStorageError = isReadable ? 0 : copy.GetWriteError();
        copy.RemoveFile();
        return;
    }
    const bool isPrintFile = ioJobFile.GetFileName() == GetArgument(kPrintFileArgument);
    isPrintFile ? ioJobFile.Close() : ioJobFile.RemoveFile();
    copy.Rewind();
    ioJobFile = copy;
}

void ADebugModule::SavePPDFile(const std::string& inPath)
{
    const char* const path = ASettingsStore::GetEnvironmentVariable("PPD");
    ACupsFile description{std::string(path != nullptr ? path : "")};
    ACupsFile copy(inPath);
    if (access(description.GetFileName().c_str(), R_OK) == 0 && description.OpenForRead() &&
        copy.OpenForDump(&description))
    {
        CopyWhole(description, copy);
        fchmod(copy.GetFileDescriptor(), 0666);
    }
    copy.Close();
    description.Close();
}

void ADebugModule::StartExecutionTimeMeasurement()
{
    fStartTime = GetCurrentTime();
}

void ADebugModule::StopExecutionTimeMeasurement() const
{
    const std::time_t finishTime = GetCurrentTime();
    std::array<char, 64> text{};
    LoggerLogMessage(kLogTrace, "%s", kRule);
    LoggerLogMessage(kLogTrace, "Start time: %s", ctime_r(&fStartTime, text.data()));
    LoggerLogMessage(kLogTrace, "Finish time: %s", ctime_r(&finishTime, text.data()));
    LoggerLogMessage(kLogTrace, "Total execution time: %.02f sec", std::difftime(finishTime, fStartTime));
    LoggerLogMessage(kLogTrace, "%s", kRule);
}

std::vector<std::string> ComponentsSeparatedByString(std::string_view inText, std::string_view inSeparator)
{
    std::vector<std::string> components;
    inText.remove_suffix(inText.empty() ? 0 : 1);
    for (;;)
    {
        const std::size_t end = inText.find(inSeparator);
        components.emplace_back(inText.substr(0, end));
        if (end == std::string_view::npos)
        {
            return components;
        }
        inText.remove_prefix(end + inSeparator.size());
    }
}

std::string MakeTestCaseFolder(const std::string& inName)
{
    // Step by step, so that a link on the way is seen.
    constexpr int kFlags = O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
    int folder = open("/tmp", O_DIRECTORY | O_CLOEXEC); // NOLINT(*-vararg)
    std::string_view rest = inName;
    while (folder >= 0 && !rest.empty())
    {
        const std::string part(rest.substr(0, rest.find('/')));
        rest.remove_prefix(std::min(rest.size(), part.size() + 1));
        if (rest.find_first_not_of('/') == std::string_view::npos && part != "..")
        {
            mkdirat(folder, part.c_str(), 0777);
        }
        const int next =
            part == ".." ? -1 : openat(folder, part.empty() ? "." : part.c_str(), kFlags); // NOLINT(*-vararg)
        close(folder);
        folder = next;
    }
    const bool isTmp = inName.find_first_not_of("./") == std::string::npos;
    const bool isMade = folder >= 0 && fchmod(folder, isTmp ? 01777 : 0777) == 0;
    if (folder >= 0)
    {
        close(folder);
    }
    return isMade ? "/tmp/" + inName + "/" : "";
}
