#include <gmock/gmock.h>

#include <array>
#include <csignal>
#include <filesystem>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "RunningFilter.h"
#include "TemporaryFolder.h"
#include "TestSupport.h"

namespace
{

using testing::AnyOf;
using testing::HasSubstr;

constexpr std::size_t kMiB = std::size_t{1} << 20;
constexpr const char* kEveryLine = "MirrorPrint";                        ///< tasks are outstanding to the trailer
constexpr const char* kStored = "MirrorPrint sides=two-sided-long-edge"; ///< and the job is stored first

std::string ReadToEnd(int inDescriptor, std::size_t inBite = kMiB)
{
    std::string text;
    std::vector<char> buffer(inBite);
    for (ssize_t count = 1; count > 0;)
    {
        count = read(inDescriptor, buffer.data(), buffer.size());
        text.append(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return text;
}

/// The filter between two pipes, with a log in a file and a temporary folder of its own.
class AFaultyRun
{
public:
    explicit AFaultyRun(std::string inOptions = kEveryLine)
    {
        std::filesystem::create_directory(GetTemporaryFolder());
        fLaunch.fArguments = {"1", "user", "title", "1", std::move(inOptions)};
        fLaunch.fEnvironment = {{"PPD", fFolder.Write("printer.ppd", MakePPD("*MirrorPrint True: \"\"\n"))},
                                {"CONTENT_TYPE", "application/pdf"},
                                {"TMPDIR", GetTemporaryFolder()}};
        fLaunch.fInput = fInput.fRead.Get();
        fLaunch.fOutput = fOutput.fWrite.Get();
        fLaunch.fErrors = fErrors.Get();
    }

    /// From now on the pipes are the filter's and the test's, each with its end.
    ALaunchedFilter& Start()
    {
        fFilter.emplace(fLaunch);
        fInput.fRead.Close();
        fOutput.fWrite.Close();
        return *fFilter;
    }

    /// Feeds the job from another thread and returns the output, both in bites of that size.
    std::string Feed(std::string_view inJob, std::size_t inBite = kMiB)
    {
        std::thread writer(
            [&]
            {
                for (std::size_t at = 0; at < inJob.size(); at += inBite)
                {
                    WriteAll(fInput.fWrite.Get(), inJob.substr(at, inBite));
                }
                fInput.fWrite.Close();
            });
        std::string output = ReadToEnd(fOutput.fRead.Get(), inBite);
        writer.join();
        return output;
    }

    [[nodiscard]] std::string GetTemporaryFolder() const { return fFolder.GetPath("tmp"); }
    [[nodiscard]] std::string GetLog() const { return ReadFile(fFolder.GetPath("log")); }

    /// The job was lost: one plain sentence, and a status that CUPS sees.
    void ExpectLoss(const char* inSentence)
    {
        EXPECT_EQ(fFilter->Wait(), 1);
        EXPECT_THAT(GetLog(), HasSubstr(inSentence));
        EXPECT_EQ(CountOf(GetLog(), "\nERROR: "), 1);
        EXPECT_TRUE(std::filesystem::is_empty(GetTemporaryFolder()));
    }

    ATemporaryFolder fFolder;
    ALaunch fLaunch;
    APipe fInput;
    APipe fOutput;
    ADescriptor fErrors{fFolder.GetPath("log"), O_WRONLY | O_CREAT | O_TRUNC};
    std::optional<ALaunchedFilter> fFilter;
};

} // namespace

TEST(Faults, AFullDiskOnTheOutputIsTold)
{
    // The first fails at the last flush, the second in the midst of the job.
    for (const int pages : {1, 20000})
    {
        AFaultyRun run;
        const ADescriptor full("/dev/full", O_WRONLY);
        run.fLaunch.fOutput = full.Get();
        run.Start();
        run.Feed(MakeJob(pages));
        run.ExpectLoss("ERROR: Unable to write the print job: No space left on device\n");
    }
}

TEST(Faults, AReaderThatLeavesIsTold)
{
    for (const char* options : {"", kEveryLine, kStored})
    {
        AFaultyRun run(options);
        run.fOutput.fRead.Close();
        run.Start();
        run.Feed(MakeJob(20000));
        run.ExpectLoss("ERROR: Unable to write the print job: Broken pipe\n");
    }
}

TEST(Faults, AReadErrorIsTold)
{
    for (const char* options : {"", kStored})
    {
        AFaultyRun run(options);
        const ADescriptor folder(run.fFolder.GetPath(), O_RDONLY | O_DIRECTORY);
        run.fLaunch.fInput = folder.Get();
        run.Start();
        run.Feed("");
        run.ExpectLoss("ERROR: Unable to read the whole print job: Is a directory\n");
    }
}

TEST(Faults, WithoutATemporaryFileTheJobPrintsAsItCame)
{
    AFaultyRun run(kStored);
    run.fLaunch.fEnvironment["TMPDIR"] = "/nowhere";
    run.Start();
    const std::string job = MakeJob(3);
    const std::string output = run.Feed(job);
    EXPECT_EQ(run.fFilter->Wait(), 0);
    EXPECT_THAT(output, AnyOf(job + "\x04", HasSubstr("(page 3) show\nshowpage\n")));
}

TEST(Faults, SmallBitesMakeNoDifference)
{
    const std::string job = MakeJob(3, "%%BeginFeature: *MirrorPrint True\r\ncode\r\n%%EndFeature\r\n");
    for (const char* options : {"", kEveryLine, kStored})
    {
        AFaultyRun run(options);
        run.Start();
        const AFilterRun usual{.fOptions = options, .fJob = job, .fPPD = MakePPD("*MirrorPrint True: \"\"\n")};
        EXPECT_EQ(run.Feed(job, 1), RunFilter(usual).fOutput);
        EXPECT_EQ(run.fFilter->Wait(), 0);
    }
}

namespace
{

/// Gone at once, by the signal, and nothing stays behind. Returns how long it took.
std::chrono::steady_clock::duration Terminate(AFaultyRun& ioRun)
{
    const auto before = std::chrono::steady_clock::now();
    ioRun.fFilter->Signal(SIGTERM);
    EXPECT_EQ(ioRun.fFilter->Wait(), 128 + SIGTERM);
    const auto duration = std::chrono::steady_clock::now() - before;
    EXPECT_TRUE(std::filesystem::is_empty(ioRun.GetTemporaryFolder()));
    return duration;
}

void WaitUntilBlocked(const ALaunchedFilter& inFilter, int inDescriptor)
{
    EXPECT_TRUE(WaitUntil([&] { return inFilter.IsBlockedOn(inDescriptor); }, 60));
}

} // namespace

TEST(Faults, ATerminationIsObeyedAtOnce)
{
    auto shortest = std::chrono::steady_clock::duration::max();
    for (const char* options : {"", kEveryLine, kStored})
    {
        AFaultyRun reading(options);
        WriteAll(reading.fInput.fWrite.Get(), "%!PS-Adobe-3.0\n%%EndComments\n%%Page: 1 1\n");
        WaitUntilBlocked(reading.Start(), STDIN_FILENO);
        shortest = std::min(shortest, Terminate(reading));

        AFaultyRun writing(options);
        writing.Start();
        std::thread feeder(
            [&]
            {
                WriteAll(writing.fInput.fWrite.Get(), MakeJob(20000));
                writing.fInput.fWrite.Close();
            });
        WaitUntilBlocked(*writing.fFilter, STDOUT_FILENO);
        shortest = std::min(shortest, Terminate(writing));
        feeder.join();
    }
    // One of six: a machine that is busy with something else may delay any of them.
    EXPECT_LT(shortest, std::chrono::milliseconds(100));
}

TEST(Faults, ATerminationMayComeAtAnyMoment)
{
    const std::string job = MakeJob(400);
    for (std::size_t fed = 0; fed < job.size(); fed += job.size() / (kIsSanitized ? 5 : 23))
    {
        AFaultyRun run(kStored);
        run.Start();
        WriteAll(run.fInput.fWrite.Get(), std::string_view(job).substr(0, fed));
        Terminate(run);
    }
}

TEST(Faults, AConverterEndsWithTheFilter)
{
    // A signal that can be caught ends what the converter started, too, and what does not care for signals.
    for (const auto& [signal, last] : {std::pair(SIGTERM, "trap '' TERM\nexec 9>FIFO\nsleep 1000\n:\n"),
                                       std::pair(SIGKILL, "exec 9>FIFO sleep 1000\n")})
    {
        AFaultyRun run(kStored);
        const std::string fifo = run.fFolder.GetPath("fifo");
        mkfifo(fifo.c_str(), 0600);
        const std::string script = run.fFolder.Write("bin/filter/gstopdf", "#!/bin/sh\n" + Replace(last, "FIFO", fifo));
        std::filesystem::permissions(script, std::filesystem::perms::owner_all);
        run.fLaunch.fEnvironment["CUPS_SERVERBIN"] = run.fFolder.GetPath("bin");
        run.fLaunch.fEnvironment["PATH"] = "/usr/bin:/bin";
        run.fLaunch.fEnvironment.erase("CONTENT_TYPE");
        run.Start();
        WriteAll(run.fInput.fWrite.Get(), MakeJob(1));
        run.fInput.fWrite.Close();
        const ADescriptor alive(fifo, O_RDONLY);
        run.fFilter->Signal(signal);
        EXPECT_EQ(run.fFilter->Wait(), 128 + signal);
        EXPECT_EQ(ReadToEnd(alive.Get()), "") << "ends when the converter has ended";
    }
}

TEST(Faults, LongArgumentsAreTakenWhole)
{
    const std::string title(100000, '(');
    AFilterRun run{.fOptions = "VXJobRetention=VXJobRetentionPrivate VXCustomJobName=" + std::string(100000, 'n'),
                   .fJob = MakeJob(2)};
    run.fTitle = title;
    run.fUser = title;
    run.fPPD = MakePPD("*VXJobAccounting True: \"\"\n*VXAccountingInfo: \"2\"\n*MirrorPrint True: \"\"\n");
    for (const char* option : {"", " VXJobAccounting=True VXUUID=True", " MirrorPrint"})
    {
        run.fOptions += option;
        const AFilterResult result = RunFilter(run);
        EXPECT_EQ(result.fStatus, 0);
        EXPECT_EQ(CountOf(result.fOutput, ") show\n"), 2);
    }
}

TEST(Faults, AnEndlessLineNeedsNoMemory)
{
    const std::string piece(kMiB, 'a');
    const int pieces = kIsSanitized ? 10 : 100;
    for (const char* options : {"", kEveryLine, kStored})
    {
        AFaultyRun run(options);
        ALaunchedFilter& filter = run.Start();
        std::size_t received = 0;
        std::thread reader(
            [&]
            {
                std::vector<char> buffer(kMiB);
                for (ssize_t count = 1; count > 0; received += static_cast<std::size_t>(count))
                {
                    count = std::max<ssize_t>(0, read(run.fOutput.fRead.Get(), buffer.data(), buffer.size()));
                }
            });
        for (int i = 0; i < pieces; ++i)
        {
            WriteAll(run.fInput.fWrite.Get(), piece);
        }
        EXPECT_TRUE(kIsSanitized || filter.GetMostMemory() < 16 * 1024) << filter.GetMostMemory();
        run.fInput.fWrite.Close();
        reader.join();
        EXPECT_EQ(filter.Wait(), 0);
        EXPECT_EQ(received, piece.size() * static_cast<std::size_t>(pieces) + 1);
    }
}

TEST(Faults, AMillionPageComments)
{
    const int pages = kIsSanitized ? 50000 : 1000000;
    std::string job = "%!PS-Adobe-3.0\n%%EndComments\n%%EndSetup\n";
    for (int page = 1; page <= pages; ++page)
    {
        job.append("%%Page: ").append(std::to_string(page)).append(" 1\n");
    }
    job += "%%Trailer\n";
    for (const char* options : {kEveryLine, kStored})
    {
        AFaultyRun run(options);
        const ADescriptor nowhere("/dev/null", O_WRONLY);
        run.fLaunch.fErrors = nowhere.Get();
        run.Start();
        const std::string output = run.Feed(job);
        EXPECT_EQ(run.fFilter->Wait(), 0);
        EXPECT_EQ(CountOf(output, "%%Page:"), pages);
    }
}

TEST(Faults, AMillionEndOfJobMarks)
{
    std::string job = "%!PS-Adobe-3.0\n%%EndComments\n%%EndSetup\n%%Page: 1 1\n";
    for (int i = 0; i < 1000000; ++i)
    {
        job += "\x04\n";
    }
    AFaultyRun run;
    run.Start();
    EXPECT_EQ(CountOf(run.Feed(job + "not the end\n"), "\x04\n"), 1000000);
    EXPECT_EQ(run.fFilter->Wait(std::chrono::seconds(20)), 0);
}

TEST(Faults, NothingButPageComments)
{
    for (const char* options : {"", kEveryLine, kStored})
    {
        for (const char* job : {"%%Page: 1 1", "%%Page: 1 1\r%%Page: 2 2\r", "%%Page:\n%%Page: (\n%%Page: 0 0\n",
                                "%%Trailer\n%%Page: 1 1\n%%EOF\n", "%%Page: 1 -1\n\x04%%Page: 1 99999999999\n"})
        {
            const AFilterResult result =
                RunFilter({.fOptions = options, .fJob = job, .fPPD = MakePPD("*MirrorPrint True: \"\"\n")});
            EXPECT_EQ(result.fStatus, 0) << options << job;
            EXPECT_THAT(result.fOutput, HasSubstr("\x04"));
        }
    }
}

TEST(Faults, BinaryDataThatLooksLikeComments)
{
    const std::string binary = std::string("\x80\xff\0%%Page: 9 9\n", 14) + "x%%Trailer\n(%%EOF) show\n" +
                               std::string(9000, '\xfe') + "%%Page: 8 8\n" + std::string("\0%%EndSetup\n", 12);
    const std::string job = Replace(MakeJob(2), "(page 1)", binary + "(page 1)");
    for (const char* options : {kEveryLine, kStored})
    {
        const AFilterResult result =
            RunFilter({.fOptions = options, .fJob = job, .fPPD = MakePPD("*MirrorPrint True: \"\"\n")});
        EXPECT_NE(result.fOutput.find(binary), std::string::npos);
        EXPECT_EQ(CountOf(result.fOutput, "\nVXshowpage\n"), 2);
    }
}
