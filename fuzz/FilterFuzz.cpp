#include <algorithm>
#include <map>
#include <vector>

#include "FuzzSupport.h"
#include "Imaging/Logger.h"
#include "JobDriver.h"

namespace
{

constexpr std::string_view kSeparator = "\n====\n";

/// What every input starts from; it need not bring a description of its own.
constexpr std::string_view kPPDHead = R"ppd(*PPD-Adobe: "4.3"
*Product: "(Veldra Fuzz)"
*OpenUI *PageSize: PickOne
*DefaultPageSize: A4
*PageSize A4: "<</PageSize[595 842]>>setpagedevice"
*PageSize Letter: "<</PageSize[612 792]>>setpagedevice"
*CloseUI: *PageSize
*ImageableArea A4: "12 12 583 829.4"
*ImageableArea Letter: "18 36 594 756"
*PaperDimension A4: "595 842"
*PaperDimension Letter: "612 792"
*OpenUI *Duplex: PickOne
*Duplex None: ""
*Duplex DuplexNoTumble: "<</Duplex true>>setpagedevice"
*CloseUI: *Duplex
)ppd";

/// The environment of a run. Nothing may reach out of it: no converter, no printer, no agent, no page of the real log.
void SetEnvironment(const std::map<std::string, std::string>& inSettings, const std::string& inPPDPath)
{
    LoggerSetLogLevel(-1);
    for (const char* name : {"CUPS_SERVERBIN", "CUPS_SERVERROOT", "VX_RESOURCES", "VX_PREVIEW_AGENT_SOCKET"})
    {
        setenv(name, "/nonexistent", 1);
    }
    setenv("SOURCE_DATE_EPOCH", "1700000000", 1);
    setenv("PPD", inPPDPath.c_str(), 1);
    unsetenv("DEVICE_URI");
    for (const char* name : {"CONTENT_TYPE", "FINAL_CONTENT_TYPE", "VX_SYSTEM_VERSION", "PRINTER"})
    {
        const auto setting = inSettings.find(name);
        setting != inSettings.end() ? setenv(name, setting->second.c_str(), 1) : unsetenv(name);
    }
}

/// Runs the job with a file in memory as its standard output, and returns what that holds.
std::string RunJob(std::vector<std::string> inTexts, AExitStatus& outStatus)
{
    std::vector<char*> arguments;
    std::ranges::transform(inTexts, std::back_inserter(arguments), [](std::string& ioText) { return ioText.data(); });
    arguments.push_back(nullptr);
    const AMemoryFile file;
    const int before = dup(STDOUT_FILENO);
    dup2(file.GetDescriptor(), STDOUT_FILENO);
    outStatus = AJobDriver(AJobDriver::kArgumentsForFile, arguments.data(), environ).Run();
    dup2(before, STDOUT_FILENO);
    close(before);
    std::string output(static_cast<std::size_t>(lseek(file.GetDescriptor(), 0, SEEK_END)), '\0');
    Require(pread(file.GetDescriptor(), output.data(), output.size(), 0) == static_cast<ssize_t>(output.size()),
            "pread");
    return output;
}

} // namespace

/// Four parts with a line "====" between them: the options, the surroundings (lines NAME=VALUE: the environment and the
/// other arguments), statements of the printer description (all of it when they begin with its magic), and the job.
void Fuzz(std::string_view inInput)
{
    std::string_view job = inInput;
    const std::string options(TakeUpTo(job, kSeparator));
    std::string_view lines = TakeUpTo(job, kSeparator);
    const std::string statements(TakeUpTo(job, kSeparator));
    std::map<std::string, std::string> settings = {{"user", "user"}, {"title", "title"}, {"copies", "1"}};
    while (!lines.empty())
    {
        const std::string line(TakeUpTo(lines, "\n"));
        settings[line.substr(0, line.find('='))] = line.substr(line.find('=') + 1);
    }
    const AMemoryFile jobFile(job);
    const AMemoryFile description(statements.starts_with("*PPD-Adobe") ? statements + "\n"
                                                                       : std::string(kPPDHead) + statements + "\n");
    SetEnvironment(settings, description.GetPath());
    AExitStatus status{};
    const std::string output = RunJob(
        {"vxpostprocessing", "1", settings["user"], settings["title"], settings["copies"], options, jobFile.GetPath()},
        status);
    Require(status == kJobDone || output.empty(), "a job that did not start has no output");
    Require(status != kJobDone || output.find('\x04') != std::string::npos, "a job ends with its mark");
}
