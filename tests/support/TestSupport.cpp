#include "TestSupport.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>

#include "Launch.h"
#include "TemporaryFolder.h"

namespace
{

std::map<std::string, std::string> MakeEnvironment(const AFilterRun& inRun, const std::string& inFolder)
{
    std::map<std::string, std::string> values = {{"PATH", "/usr/bin:/bin"},
                                                 {"PPD", inFolder + "/printer.ppd"},
                                                 {"CONTENT_TYPE", "application/pdf"},
                                                 {"TMPDIR", inFolder + "/tmp"},
                                                 {"SOURCE_DATE_EPOCH", "1700000000"}};
    if (const char* const home = std::getenv("HOME"))
    {
        values["HOME"] = home;
    }
    for (const auto& [name, value] : inRun.fEnvironment)
    {
        values[name] = value;
    }
    std::erase_if(values, [](const auto& inEntry) { return inEntry.second.empty(); });
    return values;
}

} // namespace

AFilterResult RunFilter(const AFilterRun& inRun)
{
    const ATemporaryFolder folder;
    std::filesystem::create_directory(folder.GetPath("tmp"));
    folder.Write("printer.ppd", inRun.fPPD.empty() ? MakePPD("") : inRun.fPPD);
    const std::string job = folder.Write("job", inRun.fJob);
    const ADescriptor input(inRun.fFromFile ? "/dev/null" : job, O_RDONLY);
    const ADescriptor output(folder.GetPath("output"), O_WRONLY | O_CREAT);
    const ADescriptor log(folder.GetPath("log"), O_WRONLY | O_CREAT);
    ALaunch launch;
    launch.fArguments = {"1", inRun.fUser, inRun.fTitle, inRun.fCopies, inRun.fOptions};
    if (inRun.fFromFile)
    {
        launch.fArguments.push_back(job);
    }
    launch.fEnvironment = MakeEnvironment(inRun, folder.GetPath());
    launch.fInput = input.Get();
    launch.fOutput = output.Get();
    launch.fErrors = log.Get();
    launch.fFileSizeLimit = inRun.fFileSizeLimit.value_or(RLIM_INFINITY);
    const int status = ALaunchedFilter(launch).Wait().value_or(-1);
    return {ReadFile(folder.GetPath("output")), ReadFile(folder.GetPath("log")), status};
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

std::string SetupOf(const std::string& inOptions, std::string_view inStatements, std::string_view inSetup)
{
    const AFilterResult result =
        RunFilter({.fOptions = inOptions, .fJob = MakeJob(1, inSetup), .fPPD = MakePPD(inStatements)});
    return Between(result.fOutput, "%%BeginSetup\n", "%%EndSetup").value_or(result.fOutput);
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

int CountOf(std::string_view inText, std::string_view inWord)
{
    int count = 0;
    for (std::size_t at = inText.find(inWord); at != std::string_view::npos; at = inText.find(inWord, at + 1))
    {
        ++count;
    }
    return count;
}

std::string RunShell(const std::string& inCommand)
{
    FILE* const pipe = popen(inCommand.c_str(), "r");
    std::string said;
    std::array<char, 4096> bytes{};
    for (std::size_t count = 0; pipe != nullptr && (count = fread(bytes.data(), 1, bytes.size(), pipe)) > 0;)
    {
        said.append(bytes.data(), count);
    }
    EXPECT_EQ(pipe != nullptr ? pclose(pipe) : -1, 0) << inCommand << '\n' << said;
    return said;
}

std::string RunGhostscript(const std::string& inOptions, std::string_view inProgram)
{
    const ATemporaryFolder folder;
    const std::string errors = folder.GetPath("errors");
    return RunShell("gs -q -dBATCH -dNOPAUSE " + inOptions + " " + folder.Write("job.ps", inProgram) + " 2>" + errors +
                    "; status=$?; cat " + errors + "; exit $status");
}
