#include <gmock/gmock.h>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
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
    const std::vector<std::vector<std::string>> wrong = {{},
                                                         {"-version"},
                                                         {"-V"},
                                                         {"-v", "a"},
                                                         {"-v", "a", "b"},
                                                         {"1", "u", "t", "1"},
                                                         {"1", "u", "t", "1", "", "f", "x"}};
    for (const auto& arguments : wrong)
    {
        const AFilterResult result = ARun().Run(arguments);
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
        {"DEBUG: Error initializing pages manager\n",
         [](ARun& r) { return r.fFolder.Write("printer.ppd", "%!PS no description"), kPlain; }},
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

TEST(Driver, AReadErrorIsTold)
{
    for (const auto& arguments : {kPlain, kStored})
    {
        ARun run;
        const ADescriptor folder(run.fFolder.GetPath(), O_RDONLY | O_DIRECTORY);
        const ADescriptor log(run.fFolder.GetPath("log"), O_WRONLY | O_CREAT);
        const ADescriptor nowhere("/dev/null", O_WRONLY);
        run.fLaunch.fArguments = arguments;
        run.fLaunch.fInput = folder.Get();
        run.fLaunch.fOutput = nowhere.Get();
        run.fLaunch.fErrors = log.Get();
        EXPECT_EQ(ALaunchedFilter(run.fLaunch).Wait(), 1);
        EXPECT_THAT(ReadFile(run.fFolder.GetPath("log")),
                    HasSubstr("\nERROR: Unable to read the whole print job: Is a directory\n"));
    }
}

TEST(Driver, TheJobEndsWithItsMark)
{
    const std::string early = "%!PS\n\x04" + std::string(2 * 131070, 'a');
    const std::string late = std::string(131070, 'a') + "b\x04\n";
    // Without a task the last block counts, with one that waits in vain for its line the last line.
    const std::pair<std::string, std::string> blocks[] = {{"", "\x04"},       {"abc", "\x04"}, {"abc\x04", ""},
                                                          {"a\x04\nb\n", ""}, {early, "\x04"}, {late, ""}};
    const std::pair<std::string, std::string> lines[] = {
        {"", "\x04"}, {"abc", "\x04"}, {"abc\x04", ""}, {"a\x04\nb\n", "\x04"}, {"abc\x04\n", "\x04"}};
    for (const auto& [job, added] : blocks)
    {
        EXPECT_EQ(RunFilter({.fOptions = "", .fJob = job}).fOutput, job + added);
    }
    for (const auto& [job, added] : lines)
    {
        const AFilterRun run{.fOptions = "MirrorPrint", .fJob = job, .fPPD = MakePPD("*MirrorPrint True: \"\"\n")};
        EXPECT_EQ(RunFilter(run).fOutput, job + added);
    }
}

TEST(Driver, AJobThatCannotBeCleanedPassesThrough)
{
    const std::string copies = "%RBIBeginNonPPDFeature: *NumCopies 2\n2 copies\n%RBIEndNonPPDFeature\n";
    for (const std::string& job : {MakeJob(3), MakeJob(3, copies), MakeJob(20000), std::string("%!PS showpage")})
    {
        AFilterRun run{.fOptions = "sides=two-sided-long-edge MirrorPrint", .fJob = job};
        run.fPPD = MakePPD("*MirrorPrint True: \"\"\n");
        run.fEnvironment = {{"CONTENT_TYPE", ""}, {"CUPS_SERVERBIN", "/nowhere"}};
        for (const bool fromFile : {false, true})
        {
            run.fFromFile = fromFile;
            const AFilterResult result = RunFilter(run);
            EXPECT_TRUE(result.fOutput == job + "\x04") << result.fOutput.size();
            EXPECT_TRUE(result.IsLogged("Reordering failed. Switching to pass-through mode"));
            EXPECT_EQ(result.fStatus, 0);
        }
    }
}

TEST(Driver, AnUnevenCollatedDocumentIsOneCopy)
{
    AFilterRun run{
        .fOptions = "collate=True sides=two-sided-long-edge", .fJob = MakeJob(5), .fPPD = "", .fCopies = "2"};
    const AFilterResult result = RunFilter(run);
    for (const char* number : {"1", "2", "3", "4", "5"})
    {
        EXPECT_TRUE(result.IsLogged(std::string("Current page number is ") + number + "\n")) << number;
    }
}

namespace
{

/// The debug module works at fixed places below /tmp: here in one that nobody else sees.
class ADebuggedRun : public ARun
{
public:
    ADebuggedRun()
    {
        fLaunch.fPrivateTmp = fFolder.GetPath("private");
        fFolder.Write("private/printer-given.ppd", MakePPD(""));
        fFolder.Write("private/job-given", fInput);
        std::filesystem::create_directories(fFolder.GetPath("private/spool"));
        fLaunch.fEnvironment["PPD"] = "/tmp/printer-given.ppd";
        fLaunch.fEnvironment["TMPDIR"] = "/tmp/spool";
    }

    std::string RunWith(std::string_view inCommands, std::vector<std::string> inArguments = kOptions)
    {
        fFolder.Write("private/vxpsfilterinit", inCommands);
        chmod(fFolder.GetPath("private/vxpsfilterinit").c_str(), 0644);
        const AFilterResult result = Run(std::move(inArguments));
        fIsPossible = result.fStatus != ALaunchedFilter::kNoPrivateTmp;
        EXPECT_TRUE(!fIsPossible || result.fStatus == 0) << result.fLog;
        return result.fOutput;
    }

    [[nodiscard]] std::string Read(const std::string& inName) const
    {
        return ReadFile(fFolder.GetPath("private/" + inName));
    }
    [[nodiscard]] bool Exists(const std::string& inName) const
    {
        return std::filesystem::exists(fFolder.GetPath("private/" + inName));
    }

    static inline const std::vector<std::string> kOptions = {"7", "user", "title", "1", "a=1 nob c='x y'"};
    bool fIsPossible = true;
};

} // namespace

TEST(DebugModule, EveryCommandLeavesItsFile)
{
    struct ACase
    {
        const char* fCommand;
        const char* fFile;
        const char* fContent;
    };
    constexpr const char* kArguments = "argv[0]=\"vxpostprocessing\"\nargv[1]=\"7\"\nargv[2]=\"user\"\n"
                                       "argv[3]=\"title\"\nargv[4]=\"1\"\nargv[5]=\"a=1 nob c='x y'\"\n";
    const ACase cases[] = {
        {"DumpJobSettings\n", "job_settings.txt", "a=1 nob c='x y'"},
        {"djs;;1\n", "job_settings.txt", "a=1\nb=false\nc=x y\n"},
        {"DJS;;true\n", "job_settings.txt", "a=1\nb=false\nc=x y\n"},
        {"djs;;yes\n", "job_settings.txt", "a=1 nob c='x y'"},
        {"djs;;1;;1\n", "job_settings.txt", "a=1 nob c='x y'"},
        {"d\n", "job_settings.txt", "a=1 nob c='x y'"},
        {"unknown\r\n\nDumpJ\r\n", "job_settings.txt", "a=1 nob c='x y'"},
        {"dcla\n", "parameters.txt", kArguments},
        {"dumpcommandline\n", "parameters.txt", kArguments},
        {"DIPS\n", "job.ps", nullptr},
        {"DumpInputPostScript\n", "job.ps", nullptr},
    };
    for (const ACase& example : cases)
    {
        ADebuggedRun run;
        EXPECT_EQ(run.RunWith(example.fCommand), run.fIsPossible ? run.fInput + "\x04" : "");
        if (!run.fIsPossible)
        {
            GTEST_SKIP() << "no private /tmp on this system";
        }
        EXPECT_EQ(run.Read(example.fFile), example.fContent != nullptr ? example.fContent : run.fInput)
            << example.fCommand;
        struct stat info = {};
        stat(run.fFolder.GetPath(std::string("private/") + example.fFile).c_str(), &info);
        EXPECT_EQ(info.st_mode & 0777U, 0666U);
    }
    ADebuggedRun run;
    run.RunWith("dev\nppd");
    EXPECT_THAT(run.Read("environment.txt"), HasSubstr("PPD=/tmp/printer-given.ppd\n"));
    EXPECT_EQ(run.Read("printer.ppd"), run.Read("printer-given.ppd"));
}

TEST(DebugModule, MakesATestCase)
{
    ADebuggedRun run;
    run.RunWith("dips\nCreateTestCase\n");
    if (!run.fIsPossible)
    {
        GTEST_SKIP() << "no private /tmp on this system";
    }
    EXPECT_EQ(run.Read("title7/job.ps"), run.fInput);
    EXPECT_EQ(run.Read("title7/job_settings.txt"), "a=1 nob c='x y'");
    EXPECT_EQ(run.Read("title7/printer.ppd"), MakePPD(""));
    EXPECT_FALSE(run.Exists("job.ps")) << "the first copy was the job's file, and moved on";

    run.RunWith("ctc\n", {"7", "u", "below/", "1", ""});
    EXPECT_FALSE(run.Exists("below/7")) << "only the last level is made";
    run.RunWith("ctc\n", {"7", "u", "spool/../x", "1", ""});
    EXPECT_FALSE(run.Exists("x7"));
    run.RunWith("ctc\n", {"", "u", "./", "1", ""});
    struct stat info = {};
    stat(run.fFolder.GetPath("private").c_str(), &info);
    EXPECT_EQ(info.st_mode & 01777U, 01777U) << "the place for everybody's files stays what it is";
}

TEST(DebugModule, NeverCopiesAFileOverItself)
{
    ADebuggedRun run;
    // The print file and the description are where the copies go, under other names.
    for (const char* name : {"job.ps", "printer.ppd"})
    {
        std::filesystem::create_hard_link(
            run.fFolder.GetPath(std::string("private/") + (name[0] == 'j' ? "job-given" : "printer-given.ppd")),
            run.fFolder.GetPath(std::string("private/") + name));
    }
    run.fInput = "not this";
    std::vector<std::string> arguments = ADebuggedRun::kOptions;
    arguments.emplace_back("/tmp/job-given");
    const std::string output = run.RunWith("dips\nppd\n", arguments);
    if (!run.fIsPossible)
    {
        GTEST_SKIP() << "no private /tmp on this system";
    }
    EXPECT_EQ(output, MakeJob(1) + "\x04");
    EXPECT_EQ(run.Read("printer-given.ppd"), MakePPD(""));
}

TEST(DebugModule, TrustsOnlyWhatIsItsOwn)
{
    ADebuggedRun run;
    run.RunWith("");
    if (!run.fIsPossible)
    {
        GTEST_SKIP() << "no private /tmp on this system";
    }
    const std::string init = run.fFolder.GetPath("private/vxpsfilterinit");
    const std::string real = run.fFolder.Write("private/real", "djs\n");
    chmod(real.c_str(), 0644);
    const auto isObeyed = [&]
    {
        std::filesystem::remove(run.fFolder.GetPath("private/job_settings.txt"));
        EXPECT_EQ(run.Run(ADebuggedRun::kOptions).fStatus, 0);
        return run.Exists("job_settings.txt");
    };
    std::filesystem::remove(init);
    EXPECT_FALSE(isObeyed());
    std::filesystem::copy_file(real, init);
    EXPECT_TRUE(isObeyed());
    chmod(init.c_str(), 0664);
    EXPECT_FALSE(isObeyed()) << "the group may write it";
    std::filesystem::remove(init);
    std::filesystem::create_symlink("/tmp/real", init);
    EXPECT_FALSE(isObeyed()) << "a link";
    std::filesystem::remove(init);
    mkfifo(init.c_str(), 0600);
    EXPECT_FALSE(isObeyed()) << "a pipe, which would hold the job";
    // A dump does not follow a link at its place, and neither hangs on a pipe nor reports anything.
    std::filesystem::remove(init);
    std::filesystem::create_symlink("/tmp/victim", run.fFolder.GetPath("private/job_settings.txt"));
    mkfifo(run.fFolder.GetPath("private/parameters.txt").c_str(), 0600);
    run.RunWith("djs\ndcla\n");
    EXPECT_FALSE(run.Exists("victim"));
}

TEST(DebugModule, APauseEndsWithASignal)
{
    ADebuggedRun run;
    run.RunWith("");
    if (!run.fIsPossible)
    {
        GTEST_SKIP() << "no private /tmp on this system";
    }
    chmod(run.fFolder.Write("private/vxpsfilter", "").c_str(), 0600);
    const APipe output(1 << 20);
    const ADescriptor input(run.fFolder.GetPath("input"), O_RDONLY);
    run.fLaunch.fArguments = kPlain;
    run.fLaunch.fInput = input.Get();
    run.fLaunch.fOutput = output.fWrite.Get();
    run.fLaunch.fErrors = output.fWrite.Get();
    ALaunchedFilter filter(run.fLaunch);
    EXPECT_FALSE(filter.Wait(std::chrono::milliseconds(200)));
    filter.Signal(SIGHUP);
    filter.Signal(SIGQUIT);
    EXPECT_FALSE(filter.Wait(std::chrono::milliseconds(100))) << "these two are blocked";
    filter.Signal(SIGTERM);
    EXPECT_EQ(filter.Wait(), 128 + SIGTERM);
}
