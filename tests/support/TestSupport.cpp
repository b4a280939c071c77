#include "TestSupport.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "TemporaryFolder.h"

namespace
{

std::string ReadWhole(const std::string& inPath)
{
    std::ifstream file(inPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteWholeFile(const std::string& inPath, std::string_view inText)
{
    std::ofstream(inPath, std::ios::binary).write(inText.data(), static_cast<std::streamsize>(inText.size()));
}

std::vector<std::string> MakeEnvironment(const AFilterRun& inRun, const std::string& inFolder)
{
    std::map<std::string, std::string> values = {{"PATH", "/usr/bin:/bin"},
                                                 {"PPD", inFolder + "/printer.ppd"},
                                                 {"CONTENT_TYPE", "application/pdf"},
                                                 {"TMPDIR", inFolder + "/tmp"},
                                                 {"SOURCE_DATE_EPOCH", "1700000000"}};
    for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS", "HOME"})
    {
        if (const char* value = std::getenv(name))
        {
            values[name] = value;
        }
    }
    for (const auto& [name, value] : inRun.fEnvironment)
    {
        values[name] = value;
    }
    std::vector<std::string> environment;
    for (const auto& [name, value] : values)
    {
        if (!value.empty())
        {
            environment.push_back(name + "=" + value);
        }
    }
    return environment;
}

std::vector<char*> MakePointers(std::vector<std::string>& ioTexts)
{
    std::vector<char*> pointers;
    for (std::string& text : ioTexts)
    {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

void OpenAs(int inDescriptor, const std::string& inPath, int inFlags)
{
    dup2(open(inPath.c_str(), inFlags | O_CLOEXEC, 0600), inDescriptor);
}

} // namespace

AFilterResult RunFilter(const AFilterRun& inRun)
{
    const ATemporaryFolder folder;
    const std::string base = folder.GetPath();
    mkdir((base + "/tmp").c_str(), 0700);
    WriteWholeFile(base + "/printer.ppd", inRun.fPPD.empty() ? MakePPD("") : inRun.fPPD);
    WriteWholeFile(base + "/job", inRun.fJob);
    std::vector<std::string> arguments = {VX_FILTER_PATH, "1",           inRun.fUser,
                                          inRun.fTitle,   inRun.fCopies, inRun.fOptions};
    if (inRun.fFromFile)
    {
        arguments.push_back(base + "/job");
    }
    std::vector<std::string> environment = MakeEnvironment(inRun, base);
    const std::vector<char*> argumentPointers = MakePointers(arguments);
    const std::vector<char*> environmentPointers = MakePointers(environment);
    const pid_t child = fork();
    if (child == 0)
    {
        OpenAs(STDIN_FILENO, inRun.fFromFile ? "/dev/null" : base + "/job", O_RDONLY);
        OpenAs(STDOUT_FILENO, base + "/output", O_WRONLY | O_CREAT);
        OpenAs(STDERR_FILENO, base + "/log", O_WRONLY | O_CREAT);
        if (inRun.fFileSizeLimit)
        {
            const rlimit limit = {*inRun.fFileSizeLimit, *inRun.fFileSizeLimit};
            setrlimit(RLIMIT_FSIZE, &limit);
        }
        execve(VX_FILTER_PATH, argumentPointers.data(), environmentPointers.data());
        _exit(127);
    }
    int status = -1;
    waitpid(child, &status, 0);
    const int exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return {ReadWhole(base + "/output"), ReadWhole(base + "/log"), exitStatus};
}

namespace
{

constexpr std::string_view kPPDHead = R"ppd(*PPD-Adobe: "4.3"
*FormatVersion: "4.3"
*FileVersion: "1.0"
*LanguageVersion: English
*LanguageEncoding: ISOLatin1
*PCFileName: "TEST.PPD"
*Manufacturer: "Test"
*Product: "(Test)"
*ModelName: "Test"
*ShortNickName: "Test"
*NickName: "Test"
*PSVersion: "(3010) 0"
*LanguageLevel: "3"
*ColorDevice: True
*DefaultColorSpace: RGB
*FileSystem: False
*OpenUI *PageSize: PickOne
*DefaultPageSize: A4
*PageSize A4: "<</PageSize[595 842]>>setpagedevice"
*PageSize Letter: "<</PageSize[612 792]>>setpagedevice"
*CloseUI: *PageSize
*DefaultImageableArea: A4
*ImageableArea A4: "12 12 583 829.4"
*ImageableArea Letter: "18 36 594 756"
*DefaultPaperDimension: A4
*PaperDimension A4: "595 842"
*PaperDimension Letter: "612 792"
)ppd";

constexpr std::string_view kDuplexUnit = R"ppd(*OpenUI *Duplex: PickOne
*DefaultDuplex: None
*Duplex None: "<</Duplex false>>setpagedevice"
*Duplex DuplexNoTumble: "<</Duplex true/Tumble false>>setpagedevice"
*Duplex DuplexTumble: "<</Duplex true/Tumble true>>setpagedevice"
*CloseUI: *Duplex
)ppd";

} // namespace

std::string MakePPD(std::string_view inStatements)
{
    return std::string(kPPDHead) + std::string(kDuplexUnit) + std::string(inStatements);
}

std::string MakeSimplexPPD(std::string_view inStatements)
{
    return std::string(kPPDHead) + std::string(inStatements);
}

std::string MakeJob(int inPages, std::string_view inSetup)
{
    std::string job = "%!PS-Adobe-3.0\n%%Pages: " + std::to_string(inPages) +
                      "\n%%EndComments\n%%BeginProlog\n%%EndProlog\n%%BeginSetup\n" + std::string(inSetup) +
                      "%%EndSetup\n";
    for (int page = 1; page <= inPages; ++page)
    {
        const std::string number = std::to_string(page);
        job += "%%Page: " + number + " " + number + "\n%%BeginPageSetup\n%%EndPageSetup\n(page " + number +
               ") show\nshowpage\n%%PageTrailer\n";
    }
    return job + "%%Trailer\n%%EOF\n";
}

std::optional<std::string> Between(std::string_view inText, std::string_view inBegin, std::string_view inEnd)
{
    const std::size_t begin = inText.find(inBegin);
    const std::size_t end = begin == std::string_view::npos ? begin : inText.find(inEnd, begin + inBegin.size());
    if (end == std::string_view::npos)
    {
        return std::nullopt;
    }
    return std::string(inText.substr(begin + inBegin.size(), end - begin - inBegin.size()));
}

std::string Replace(std::string inText, std::string_view inFrom, std::string_view inTo)
{
    const std::size_t at = inText.find(inFrom);
    return at == std::string::npos ? inText : inText.replace(at, inFrom.size(), inTo);
}
