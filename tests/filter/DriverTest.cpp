#include <gmock/gmock.h>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <iterator>
#include <sstream>
#include <sys/stat.h>

#include "Launch.h"
#include "TemporaryFolder.h"
#include "TestSupport.h"

namespace
{

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kUsage = "vxpostprocessing job-id user title copies options [file]\n";

/// A folder with what a run needs, and what came of it.
class ARun
{
public:
    ARun()
    {
        fFolder.Write("tmp/keep", "");
        fLaunch.fEnvironment = {{"PPD", fFolder.Write("printer.ppd", MakePPD(""))},
                                {"CONTENT_TYPE", "application/pdf"},
                                {"TMPDIR", fFolder.GetPath("tmp")}};
    }

    AFilterResult Run(std::vector<std::string> inArguments)
    {
        const ADescriptor input(fFolder.Write("input", fInput), O_RDONLY);
        const ADescriptor output(fFolder.GetPath("output"), O_WRONLY | O_CREAT | O_TRUNC);
        const ADescriptor errors(fFolder.GetPath("log"), O_WRONLY | O_CREAT | O_TRUNC);
        fLaunch.fArguments = std::move(inArguments);
        fLaunch.fInput = fClosed == 0 ? ALaunch::kClosed : input.Get();
        fLaunch.fOutput = fClosed == 1 ? ALaunch::kClosed : output.Get();
        fLaunch.fErrors = fClosed == 2 ? ALaunch::kClosed : errors.Get();
        const int status = ALaunchedFilter(fLaunch).Wait().value_or(-1);
        return {ReadFile(fFolder.GetPath("output")), ReadFile(fFolder.GetPath("log")), status};
    }

    ATemporaryFolder fFolder;
    ALaunch fLaunch;
    std::string fInput = MakeJob(1);
    int fClosed = -1; ///< the standard descriptor that the filter does not get
};

const std::vector<std::string> kPlain = {"1", "user", "title", "1", ""};
const std::vector<std::string> kStored = {"1", "user", "title", "1", "sides=two-sided-long-edge"};

std::vector<std::string> WithFile(std::string inPath)
{
    std::vector<std::string> arguments = kPlain;
    arguments.push_back(std::move(inPath));
    return arguments;
}

} // namespace

TEST(Driver, AnswersWithoutAJob)
{
    for (const char* const wrong : {"", "-version", "-V", "-v a", "-v a b", "1 u t 1", "1 u t 1 o f x"})
    {
        std::istringstream words(wrong);
        const AFilterResult result = ARun().Run({std::istream_iterator<std::string>(words), {}});
        EXPECT_EQ(result.fOutput, kUsage);
        EXPECT_EQ(result.fLog, "");
        EXPECT_EQ(result.fStatus, 1);
    }
    const AFilterResult version = ARun().Run({"-v"});
    EXPECT_EQ(version.fOutput, "5.2.0.615\n");
    EXPECT_EQ(version.fLog, "");
    EXPECT_EQ(version.fStatus, 0);
}

TEST(Driver, AStartThatFailsWritesNothing)
{
    struct ACase
    {
        const char* fMessage;
        std::function<std::vector<std::string>(ARun&)> fBreak;
    };
    const ACase cases[] = {
        {"DEBUG: Unable to redirect stdin\n", [](ARun& r) { return r.fClosed = 0, kPlain; }},
        {"DEBUG: Error opening stdout\n", [](ARun& r) { return r.fClosed = 1, kPlain; }},
        {"DEBUG: Unable to open print file \"/nowhere/job\"\n", [](ARun&) { return WithFile("/nowhere/job"); }},
        {"DEBUG: Unable to open file \"/nowhere/job\": No such file or directory\n",
         [](ARun&) { return WithFile("/nowhere/job"); }},
        {"DEBUG: Unable to open print file \"\"\n", [](ARun&) { return WithFile(""); }},
        {"DEBUG: Unable to open file \"/tmp\": Is a directory\n", [](ARun&) { return WithFile("/tmp"); }},
        {"DEBUG: Error initializing pages manager\n",
         [](ARun& r) { return r.fLaunch.fEnvironment.erase("PPD"), kPlain; }},
        {"DEBUG: Error initializing pages manager\n",
         [](ARun& r) { return r.fLaunch.fEnvironment["PPD"] = "/nowhere", kPlain; }},
    };
    for (const ACase& example : cases)
    {
        ARun run;
        const AFilterResult result = run.Run(example.fBreak(run));
        EXPECT_THAT(result.fLog, StartsWith("DEBUG: vxPostProcessing launched\n"));
        EXPECT_THAT(result.fLog, HasSubstr(example.fMessage));
        EXPECT_EQ(result.fOutput, "");
        EXPECT_EQ(result.fStatus, 1) << example.fMessage;
    }
}

TEST(Driver, AClosedStandardStreamTakesNoPartOfTheJob)
{
    ARun run;
    run.fInput = MakeJob(2);
    for (const auto& [closed, fromFile] : {std::pair(0, true), std::pair(2, true), std::pair(2, false)})
    {
        run.fClosed = closed;
        std::vector<std::string> arguments = kStored;
        if (fromFile)
        {
            arguments.push_back(run.fFolder.Write("job", run.fInput));
        }
        const AFilterResult result = run.Run(arguments);
        EXPECT_EQ(result.fOutput, run.fInput + "\x04") << closed;
        EXPECT_EQ(result.fStatus, 0);
    }
}

TEST(Driver, TheJobEndsWithItsMark)
{
    const std::string early = "%!PS\n\x04" + std::string(2 * 131070, 'a');
    // Without a task the last block counts, with one that waits in vain for its line the last line.
    for (const std::string& job : {std::string("a\x04\nb\n"), early, std::string("abc\x04")})
    {
        EXPECT_EQ(RunFilter({.fOptions = "", .fJob = job}).fOutput, job + (job == early ? "\x04" : ""));
        const AFilterRun run{.fOptions = "MirrorPrint", .fJob = job, .fPPD = MakePPD("*MirrorPrint True: \"\"\n")};
        EXPECT_EQ(RunFilter(run).fOutput, job + (job == "abc\x04" ? "" : "\x04"));
    }
}

namespace
{

const std::vector<std::string> kOptions = {"7", "user", "title", "1", "a=1 nob c='x y'"};

/// The debug module works at fixed places below /tmp: here in one that nobody else sees.
class ADebuggedRun : public ARun
{
public:
    ADebuggedRun()
    {
        fLaunch.fPrivateTmp = GetPath("");
        Write("printer-given.ppd", MakePPD(""));
        Write("job-given", fInput);
        std::filesystem::create_directories(GetPath("spool"));
        fLaunch.fEnvironment["PPD"] = "/tmp/printer-given.ppd";
        fLaunch.fEnvironment["TMPDIR"] = "/tmp/spool";
    }

    AFilterResult RunWith(std::string_view inCommands, std::vector<std::string> inArguments = kOptions)
    {
        Write("vxpsfilterinit", inCommands);
        return Run(std::move(inArguments));
    }

    /// A file that everybody may read.
    void Write(const std::string& inName, std::string_view inText) const
    {
        chmod(fFolder.Write("private/" + inName, inText).c_str(), 0644);
    }
    [[nodiscard]] std::string GetPath(const std::string& inName) const { return fFolder.GetPath("private/" + inName); }
    [[nodiscard]] std::string Read(const std::string& inName) const { return ReadFile(GetPath(inName)); }
    [[nodiscard]] bool Exists(const std::string& inName) const { return std::filesystem::exists(GetPath(inName)); }
    [[nodiscard]] unsigned GetMode(const std::string& inName) const
    {
        struct stat info = {};
        stat(GetPath(inName).c_str(), &info);
        return info.st_mode & 01777U;
    }
};

class DebugModule : public testing::Test
{
protected:
    void SetUp() override
    {
        if (fRun.RunWith("").fStatus == ALaunchedFilter::kNoPrivateTmp)
        {
            GTEST_SKIP() << "no private /tmp on this system";
        }
    }

    ADebuggedRun fRun;
};

} // namespace

TEST_F(DebugModule, EveryCommandLeavesItsFile)
{
    constexpr const char* kArguments = "argv[0]=\"vxpostprocessing\"\nargv[1]=\"7\"\nargv[2]=\"user\"\n"
                                       "argv[3]=\"title\"\nargv[4]=\"1\"\nargv[5]=\"a=1 nob c='x y'\"\n";
    struct ACase
    {
        const char* fCommand;
        const char* fFile;
        std::string fContent;
    };
    const ACase cases[] = {
        {"DumpJobSettings\n", "job_settings.txt", kOptions[4]},
        {"djs;;1\n", "job_settings.txt", "a=1\nb=false\nc=x y\n"},
        {"DJS;;true\n", "job_settings.txt", "a=1\nb=false\nc=x y\n"},
        {"djs;;1;;1\n", "job_settings.txt", kOptions[4]},
        {"d\n", "job_settings.txt", kOptions[4]},
        {"unknown\r\n\nDumpJ\r\n", "job_settings.txt", kOptions[4]},
        {"dcla\n", "parameters.txt", kArguments},
        {"dumpcommandline\n", "parameters.txt", kArguments},
        {"DIPS\n", "job.ps", fRun.fInput},
        {"DumpInputPostScript\n", "job.ps", fRun.fInput},
    };
    for (const ACase& example : cases)
    {
        ADebuggedRun run;
        EXPECT_EQ(run.RunWith(example.fCommand).fOutput, run.fInput + "\x04");
        EXPECT_EQ(run.Read(example.fFile), example.fContent) << example.fCommand;
        EXPECT_EQ(run.GetMode(example.fFile), 0666U);
    }
    fRun.RunWith("dev\nppd");
    EXPECT_THAT(fRun.Read("environment.txt"), HasSubstr("PPD=/tmp/printer-given.ppd\n"));
    EXPECT_EQ(fRun.Read("printer.ppd"), fRun.Read("printer-given.ppd"));
}

TEST_F(DebugModule, MakesATestCase)
{
    fRun.RunWith("dips\nCreateTestCase\n");
    EXPECT_EQ(fRun.Read("title7/job.ps"), fRun.fInput);
    EXPECT_EQ(fRun.Read("title7/job_settings.txt"), kOptions[4]);
    EXPECT_EQ(fRun.Read("title7/printer.ppd"), MakePPD(""));
    EXPECT_FALSE(fRun.Exists("job.ps")) << "the first copy was the job's file, and moved on";

    fRun.RunWith("ctc\n", {"7", "u", "below/", "1", ""});
    EXPECT_FALSE(fRun.Exists("below/7")) << "only the last level is made";
    fRun.RunWith("ctc\n", {"7", "u", "spool/../x", "1", ""});
    EXPECT_FALSE(fRun.Exists("x7"));
    fRun.RunWith("ctc\n", {"", "u", "./", "1", ""});
    EXPECT_EQ(fRun.GetMode(""), 01777U) << "the place for everybody's files stays what it is";
}

TEST_F(DebugModule, NeverCopiesAFileOverItself)
{
    // The print file and the description are where the copies go, under other names.
    std::filesystem::create_hard_link(fRun.GetPath("job-given"), fRun.GetPath("job.ps"));
    std::filesystem::create_hard_link(fRun.GetPath("printer-given.ppd"), fRun.GetPath("printer.ppd"));
    fRun.fInput = "not this";
    std::vector<std::string> arguments = kOptions;
    arguments.emplace_back("/tmp/job-given");
    EXPECT_EQ(fRun.RunWith("dips\nppd\n", arguments).fOutput, MakeJob(1) + "\x04");
    EXPECT_EQ(fRun.Read("printer-given.ppd"), MakePPD(""));
}

TEST_F(DebugModule, TrustsOnlyWhatIsItsOwn)
{
    const std::string init = fRun.GetPath("vxpsfilterinit");
    const auto isObeyed = [&]
    {
        std::filesystem::remove(fRun.GetPath("job_settings.txt"));
        EXPECT_EQ(fRun.Run(kOptions).fStatus, 0);
        std::filesystem::remove(init);
        return fRun.Exists("job_settings.txt");
    };
    fRun.Write("vxpsfilterinit", "djs\n");
    EXPECT_TRUE(isObeyed());
    EXPECT_FALSE(isObeyed()) << "there is none";
    fRun.Write("vxpsfilterinit", "djs\n");
    chmod(init.c_str(), 0664);
    EXPECT_FALSE(isObeyed()) << "the group may write it";
    fRun.Write("real", "djs\n");
    std::filesystem::create_symlink("/tmp/real", init);
    EXPECT_FALSE(isObeyed()) << "a link";
    mkfifo(init.c_str(), 0600);
    EXPECT_FALSE(isObeyed()) << "a pipe, which would hold the job";
    // A dump does not follow a link at its place, and neither hangs on a pipe nor reports anything.
    std::filesystem::create_symlink("/tmp/victim", fRun.GetPath("job_settings.txt"));
    mkfifo(fRun.GetPath("parameters.txt").c_str(), 0600);
    EXPECT_EQ(fRun.RunWith("djs\ndcla\n").fStatus, 0);
    EXPECT_FALSE(fRun.Exists("victim"));
}

TEST_F(DebugModule, APauseEndsWithASignal)
{
    fRun.Write("vxpsfilter", "");
    const APipe output(1 << 20);
    const ADescriptor input(fRun.fFolder.GetPath("input"), O_RDONLY);
    fRun.fLaunch.fArguments = kPlain;
    fRun.fLaunch.fInput = input.Get();
    fRun.fLaunch.fOutput = output.fWrite.Get();
    fRun.fLaunch.fErrors = output.fWrite.Get();
    ALaunchedFilter filter(fRun.fLaunch);
    EXPECT_FALSE(filter.Wait(std::chrono::milliseconds(200)));
    filter.Signal(SIGHUP);
    filter.Signal(SIGQUIT);
    EXPECT_FALSE(filter.Wait(std::chrono::milliseconds(100))) << "these two are blocked";
    filter.Signal(SIGTERM);
    EXPECT_EQ(filter.Wait(), 128 + SIGTERM);
}
