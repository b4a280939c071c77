// Measures the filter as CUPS runs it, between two pipes, beside cat and the other programs that do such work, all in
// one run: "vxbench [pages]" prints a table of medians and ratios. Rounds take turns, so that a machine that changes
// its speed changes it for everybody.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

constexpr int kRounds = 5;
constexpr int kStartUpRuns = 40;

/// What the measured features need and nothing else: a printer with many abilities keeps every job line by line.
constexpr const char* kPPD = R"ppd(*PPD-Adobe: "4.3"
*FormatVersion: "4.3"
*FileVersion: "1.0"
*LanguageVersion: English
*LanguageEncoding: ISOLatin1
*PCFileName: "BENCH.PPD"
*Manufacturer: "Bench"
*Product: "(Bench)"
*ModelName: "Bench"
*ShortNickName: "Bench"
*NickName: "Bench"
*PSVersion: "(3010) 0"
*LanguageLevel: "3"
*ColorDevice: True
*DefaultColorSpace: RGB
*FileSystem: False
*OpenUI *PageSize: PickOne
*DefaultPageSize: A4
*PageSize A4: "<</PageSize[595 842]>>setpagedevice"
*CloseUI: *PageSize
*DefaultImageableArea: A4
*ImageableArea A4: "12 12 583 829.4"
*DefaultPaperDimension: A4
*PaperDimension A4: "595 842"
*MirrorPrint: "True"
*VXwmrSwitch: "True"
*VXBookletFilter: "True"
*VXFaceOrientation: "True"
)ppd";
constexpr const char* kDuplexUnit = R"ppd(*OpenUI *Duplex: PickOne
*DefaultDuplex: None
*Duplex None: "<</Duplex false>>setpagedevice"
*Duplex DuplexNoTumble: "<</Duplex true/Tumble false>>setpagedevice"
*CloseUI: *Duplex
)ppd";

struct AProgram
{
    std::string fName;
    std::vector<std::string> fCommand;
    std::vector<double> fSeconds = {};
    long fPeakMemory = 0; ///< kilobytes
};

/// A folder with the jobs that is gone at the end.
class AJobFolder
{
public:
    AJobFolder()
    {
        std::string name = std::filesystem::temp_directory_path() / "vxbench.XXXXXX";
        if (mkdtemp(name.data()) == nullptr)
        {
            std::perror("mkdtemp");
            std::exit(1);
        }
        fPath = name;
    }
    ~AJobFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(fPath, ignored);
    }
    AJobFolder(const AJobFolder&) = delete;
    AJobFolder& operator=(const AJobFolder&) = delete;

    [[nodiscard]] std::string WritePPD(const std::string& inName, const std::string& inText) const
    {
        std::ofstream(fPath / inName) << inText;
        return fPath / inName;
    }

    /// A job of pages of 15,000 bytes each, as a converter writes them.
    [[nodiscard]] std::string WriteJob(int inPages) const
    {
        const std::string path = fPath / std::to_string(inPages);
        std::ofstream job(path, std::ios::binary);
        job << "%!PS-Adobe-3.0\n%%Pages: " << inPages << "\n%%EndComments\n%%BeginSetup\n%%EndSetup\n";
        const std::string content = MakePage();
        for (int page = 1; page <= inPages; ++page)
        {
            job << "%%Page: " << page << " " << page << "\n%%BeginPageSetup\n%%EndPageSetup\n"
                << content << "showpage\n%%PageTrailer\n";
        }
        job << "%%Trailer\n%%EOF\n";
        return path;
    }

private:
    static std::string MakePage()
    {
        std::string page;
        for (unsigned i = 0; page.size() < 14'900; ++i)
        {
            page += std::to_string(i * 7919 % 595) + " " + std::to_string(i * 104729 % 842) +
                    " m (some text on a page, 100% of it) show\n";
        }
        return page;
    }

    std::filesystem::path fPath;
};

void Redirect(int inFrom, int inTo)
{
    dup2(inFrom, inTo);
    close(inFrom);
}

pid_t Start(const std::vector<std::string>& inCommand, int inInput, int inOutput)
{
    const pid_t child = fork();
    if (child != 0)
    {
        return child;
    }
    std::vector<char*> arguments;
    for (const std::string& argument : inCommand)
    {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    Redirect(inInput, STDIN_FILENO);
    Redirect(inOutput, STDOUT_FILENO);
    Redirect(open("/dev/null", O_WRONLY), STDERR_FILENO);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

/// The host of a virtual machine takes memory back that is free for a while: the first program that stores a job would
/// pay for what the next ones find.
void TakeMemory(const std::string& inJob)
{
    const std::string copy = inJob + ".copy";
    std::filesystem::copy_file(inJob, copy);
    std::filesystem::remove(copy);
}

/// "cat job | program | cat > /dev/null", from the start of the first to the end of the last.
void Measure(AProgram& ioProgram, const std::string& inJob)
{
    TakeMemory(inJob);
    std::array<int, 2> in{};
    std::array<int, 2> out{};
    if (pipe2(in.data(), O_CLOEXEC) != 0 || pipe2(out.data(), O_CLOEXEC) != 0)
    {
        std::perror("pipe2");
        std::exit(1);
    }
    const auto start = std::chrono::steady_clock::now();
    const pid_t feeder = Start({"cat", inJob}, open("/dev/null", O_RDONLY | O_CLOEXEC), in[1]);
    const pid_t program = Start(ioProgram.fCommand, in[0], out[1]);
    const pid_t drain = Start({"cat"}, out[0], open("/dev/null", O_WRONLY | O_CLOEXEC));
    for (const int descriptor : {in[0], in[1], out[0], out[1]})
    {
        close(descriptor);
    }
    rusage usage = {};
    int status = 0;
    wait4(program, &status, 0, &usage);
    waitpid(feeder, nullptr, 0);
    waitpid(drain, nullptr, 0);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - start;
    if (status != 0)
    {
        std::fprintf(stderr, "%s ended with status %d\n", ioProgram.fName.c_str(), status);
        std::exit(1);
    }
    ioProgram.fSeconds.push_back(time.count());
    ioProgram.fPeakMemory = std::max(ioProgram.fPeakMemory, usage.ru_maxrss);
}

double Median(std::vector<double> inValues)
{
    std::sort(inValues.begin(), inValues.end());
    return inValues[inValues.size() / 2];
}

void Run(std::vector<AProgram>& ioPrograms, const std::string& inJob, int inRounds)
{
    for (int round = 0; round < inRounds; ++round)
    {
        for (AProgram& program : ioPrograms)
        {
            Measure(program, inJob);
        }
    }
}

/// Medians of the ratios of each round: what the machine does to a round it does to both.
double Ratio(const AProgram& inProgram, const AProgram& inOther)
{
    std::vector<double> ratios;
    for (std::size_t i = 0; i < inProgram.fSeconds.size(); ++i)
    {
        ratios.push_back(inProgram.fSeconds[i] / inOther.fSeconds[i]);
    }
    return Median(ratios);
}

std::vector<std::string> Filter(const std::string& inOptions)
{
    return {VX_FILTER_PATH, "1", "user", "title", "1", inOptions};
}

/// The description is one that the program finds in its environment.
std::vector<std::string> With(const std::string& inPPD, std::vector<std::string> inCommand)
{
    inCommand.insert(inCommand.begin(), {"env", "PPD=" + inPPD, "CONTENT_TYPE=application/pdf"});
    return inCommand;
}

std::vector<std::string> PsTops(const std::string& inOptions)
{
    return {"/usr/lib/cups/filter/pstops", "1", "user", "title", "1", inOptions};
}

std::vector<AProgram> MakePrograms(const AJobFolder& inFolder)
{
    const std::string duplex = inFolder.WritePPD("duplex.ppd", std::string(kPPD) + kDuplexUnit);
    const std::string simplex = inFolder.WritePPD("simplex.ppd", kPPD);
    const std::string faceUp = "VXFaceOrientation=FaceUp OutputOrder=Reverse sides=two-sided-long-edge media=A4";
    const std::string booklet = "VXBookletFilter=True VXBookletPaperSize=A4 media=A4";
    const std::string byHand = "VXManualDuplexSupport=True VXManualDuplexSwitch=True media=A4";
    const std::string mark = "VXwmrSwitch=Overlay VXwmCodedTextMessage=Draft";
    return {{"cat", {"env", "cat"}},
            {"pstops", With(duplex, PsTops(""))},
            {"pstops reversed", With(duplex, PsTops("OutputOrder=Reverse"))},
            {"psbook", {"psbook", "-q"}},
            {"psselect reversed", {"psselect", "-q", "-r"}},
            {"block mode", With(duplex, Filter(""))},
            {"line mode", With(duplex, Filter("MirrorPrint=True"))},
            {"reverse", With(duplex, Filter(faceUp))},
            {"booklet", With(duplex, Filter(booklet))},
            {"manual duplex", With(simplex, Filter(byHand))},
            {"watermark", With(duplex, Filter(mark))}};
}

void PrintTable(const std::vector<AProgram>& inPrograms)
{
    std::printf("%-20s %9s %9s %9s %12s %9s %10s\n", "", "seconds", "to cat", "to pstops", "... reversed", "to psbook",
                "peak MB");
    for (const AProgram& program : inPrograms)
    {
        std::printf("%-20s %9.3f %9.2f %9.2f %12.2f %9.2f %10.1f\n", program.fName.c_str(), Median(program.fSeconds),
                    Ratio(program, inPrograms[0]), Ratio(program, inPrograms[1]), Ratio(program, inPrograms[2]),
                    Ratio(program, inPrograms[3]), static_cast<double>(program.fPeakMemory) / 1024);
    }
}

void PrintStartUp(const AJobFolder& inFolder, const std::string& inJob)
{
    const std::vector<AProgram> all = MakePrograms(inFolder);
    std::vector<AProgram> programs = {all[1], all[5], all[6], all[10]};
    Run(programs, inJob, kStartUpRuns);
    std::printf("\nOne page:\n");
    for (const AProgram& program : programs)
    {
        std::printf("%-20s %9.1f ms %6.2f of pstops\n", program.fName.c_str(), Median(program.fSeconds) * 1000,
                    Ratio(program, programs[0]));
    }
}

/// Time at four times the pages, in times the time.
void PrintGrowth(const AJobFolder& inFolder, const std::vector<AProgram>& inPrograms, const std::string& inQuarterJob)
{
    std::vector<AProgram> programs = MakePrograms(inFolder);
    programs.erase(programs.begin(), programs.begin() + 5);
    Run(programs, inQuarterJob, 3);
    std::printf("\nFour times the pages:\n");
    for (std::size_t i = 0; i < programs.size(); ++i)
    {
        std::printf("%-20s %9.2f times\n", programs[i].fName.c_str(),
                    Median(inPrograms[i + 5].fSeconds) / Median(programs[i].fSeconds));
    }
}

} // namespace

int main(int argc, char** argv)
{
    const int pages = argc > 1 ? std::max(4, std::atoi(argv[1])) : 20'000;
    const AJobFolder folder;
    const std::string job = folder.WriteJob(pages);
    std::printf("%d pages, %.0f MB, %d rounds\n", pages, static_cast<double>(std::filesystem::file_size(job)) / 1e6,
                kRounds);
    std::vector<AProgram> programs = MakePrograms(folder);
    Run(programs, job, kRounds);
    PrintTable(programs);
    PrintStartUp(folder, folder.WriteJob(1));
    PrintGrowth(folder, programs, folder.WriteJob(pages / 4));
    return 0;
}
