#include <array>
#include <vector>

#include "FuzzSupport.h"
#include "Imaging/Logger.h"
#include "JobDriver.h"

namespace
{

constexpr std::string_view kSeparator = "\n====\n";

/// What every input starts from; it need not bring a description of its own.
constexpr std::string_view kPPDHead = R"ppd(*PPD-Adobe: "4.3"
*LanguageEncoding: ISOLatin1
*Product: "(Veldra Fuzz)"
*ModelName: "Fuzz"
*NickName: "Fuzz"
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

constexpr std::array kSwitches = {"CONTENT_TYPE", "FINAL_CONTENT_TYPE", "VX_SYSTEM_VERSION", "PRINTER"};

/// Nothing of a run may reach out of it: no converter, no printer, no agent, no page of the real log.
void IsolateOnce()
{
    static const bool isIsolated = []
    {
        LoggerSetLogLevel(-1);
        setenv("CUPS_SERVERBIN", "/nonexistent", 1);
        setenv("CUPS_SERVERROOT", "/nonexistent", 1);
        setenv("VX_RESOURCES", "/nonexistent", 1);
        setenv("VX_PREVIEW_AGENT_SOCKET", "/nonexistent", 1);
        setenv("SOURCE_DATE_EPOCH", "1700000000", 1);
        unsetenv("DEVICE_URI");
        return true;
    }();
    static_cast<void>(isIsolated);
}

/// What the environment and the arguments hold for one run, from lines NAME=VALUE.
class ASurroundings
{
public:
    explicit ASurroundings(std::string_view inLines, const std::string& inPPDPath)
    {
        setenv("PPD", inPPDPath.c_str(), 1);
        while (!inLines.empty())
        {
            const std::string_view line = TakeUpTo(inLines, "\n");
            Take(std::string(line.substr(0, line.find('='))), std::string(line.substr(line.find('=') + 1)));
        }
    }
    ~ASurroundings()
    {
        for (const char* name : kSwitches)
        {
            unsetenv(name);
        }
    }
    ASurroundings(const ASurroundings&) = delete;
    ASurroundings& operator=(const ASurroundings&) = delete;

    std::string fUser = "user";
    std::string fTitle = "title";
    std::string fCopies = "1";

private:
    void Take(const std::string& inName, const std::string& inValue)
    {
        for (const char* name : kSwitches)
        {
            if (inName == name)
            {
                setenv(name, inValue.c_str(), 1);
            }
        }
        (inName == "user" ? fUser : inName == "title" ? fTitle : inName == "copies" ? fCopies : fIgnored) = inValue;
    }

    std::string fIgnored;
};

/// Standard output is a file in memory for as long as this lives.
class AOutput
{
public:
    AOutput() : fBefore(dup(STDOUT_FILENO)) { dup2(fFile.GetDescriptor(), STDOUT_FILENO); }
    ~AOutput()
    {
        dup2(fBefore, STDOUT_FILENO);
        close(fBefore);
    }
    AOutput(const AOutput&) = delete;
    AOutput& operator=(const AOutput&) = delete;

    [[nodiscard]] std::string Read() const
    {
        std::string text(static_cast<std::size_t>(lseek(fFile.GetDescriptor(), 0, SEEK_END)), '\0');
        Require(pread(fFile.GetDescriptor(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()),
                "pread");
        return text;
    }

private:
    AMemoryFile fFile;
    int fBefore;
};

AExitStatus RunJob(const ASurroundings& inSurroundings, std::string inOptions, const std::string& inJobPath)
{
    std::vector<std::string> texts = {
        "vxpostprocessing", "1",      inSurroundings.fUser, inSurroundings.fTitle, inSurroundings.fCopies,
        inOptions,          inJobPath};
    std::vector<char*> arguments;
    for (std::string& text : texts)
    {
        arguments.push_back(text.data());
    }
    arguments.push_back(nullptr);
    return AJobDriver(AJobDriver::kArgumentsForFile, arguments.data(), environ).Run();
}

} // namespace

/// Four parts with a line "====" between them: the options, the surroundings, statements of the printer description
/// (all of it when they begin with its magic), and the job.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize)
{
    IsolateOnce();
    std::string_view job = AsText(inData, inSize);
    const std::string options(TakeUpTo(job, kSeparator));
    const std::string_view surroundingLines = TakeUpTo(job, kSeparator);
    const std::string_view statements = TakeUpTo(job, kSeparator);
    const AMemoryFile jobFile(job);
    const bool isWhole = statements.starts_with("*PPD-Adobe");
    const AMemoryFile description(std::string(isWhole ? "" : kPPDHead) + std::string(statements) + "\n");
    const ASurroundings surroundings(surroundingLines, description.GetPath());
    const AOutput output;
    const AExitStatus status = RunJob(surroundings, options, jobFile.GetPath());
    const std::string text = output.Read();
    Require(status == kJobDone || text.empty(), "a job that did not start has no output");
    Require(status != kJobDone || text.find('\x04') != std::string::npos, "a job ends with its mark");
    return 0;
}
