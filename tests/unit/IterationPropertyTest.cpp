// The engine copies spans and looks only at lines that can matter. Whatever the job, its output and what its tasks see
// must be what reading line by line gives: a deliberately simple line-by-line iteration stands here beside the real
// one.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <random>

#include "Foundation/DocumentIterator.h"
#include "Imaging/Logger.h"
#include "TemporaryFolder.h"

namespace
{

using ATask = AProcessingTask::ADeclaration;

// A sanitizer makes everything slower.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr unsigned kJobs = 200;
#else
constexpr unsigned kJobs = 1000;
#endif
constexpr std::size_t kPiece = 8191;  ///< bytes of a line that are handled at a time
constexpr std::size_t kRead = 131072; ///< bytes that a read brings at most

/// The tasks, what one does at its n-th call, and what they saw: the same in both iterations.
struct AScript
{
    std::vector<ATask> fTasks;
    std::vector<std::size_t> fActions;
    std::vector<std::string> fSeen = {};
};

template <typename Iteration>
class AScriptedProcessor final : public ILineProcessor
{
public:
    AScriptedProcessor(Iteration& ioIteration, AScript& ioScript) : fIteration(ioIteration), fScript(ioScript)
    {
        for (const ATask& task : fScript.fTasks)
        {
            fIteration.RegisterTask(*this, task);
        }
    }
    const char* GetName() const override { return "Scripted"; }
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override
    {
        const bool isBefore = ioLine.GetLineOrder() == kBeforeLine;
        fScript.fSeen.push_back((isBefore ? "pre: " : "post: ") + std::string(ioLine.GetText()));
        const std::size_t action = fScript.fActions[(fScript.fSeen.size() - 1) % fScript.fActions.size()];
        const ATask& task = fScript.fTasks[action % fScript.fTasks.size()];
        switch (action % 8)
        {
        case 0:
            return isBefore ? kLineProcessSkip : kLineProcessUnchanged;
        case 1:
            ioLine.SetLine("replaced %%Page: VXName\n");
            return kLineProcessChanged;
        case 2:
            fIteration.GetOutputFile().Write("written\n");
            break;
        case 3:
        case 4:
            fIteration.CompleteTask(*this, task.fPattern, task.fLineOrder);
            break;
        case 5:
            fIteration.RegisterTask(*this, task);
            break;
        }
        return kLineProcessUnchanged;
    }

private:
    Iteration& fIteration;
    AScript& fScript;
};

bool IsBlank(char inByte)
{
    return static_cast<unsigned char>(inByte) <= ' ';
}

/// The iteration of one processor's tasks as it is described, a line at a time.
class ASimpleIteration
{
public:
    explicit ASimpleIteration(std::string inJob) : fJob(std::move(inJob)) {}

    void IterateDocument()
    {
        bool endsWithMark = false;
        bool isEOF = false;
        UpdateTasks();
        while (!isEOF && !std::ranges::all_of(fTasks, &ATask::fIsOptional))
        {
            const std::string line = ReadLine();
            isEOF = line.size() < kPiece && line.find_first_of("\r\n") == std::string::npos;
            endsWithMark = isEOF && std::string(line.c_str()).find(4) != std::string::npos;
            if (!line.empty())
            {
                UpdateTasks();
                Handle(line);
            }
        }
        for (; !isEOF && fAt < fJob.size(); fAt += kRead - 2)
        {
            const std::string block = fJob.substr(fAt, kRead - 2);
            Write(block);
            endsWithMark = block.find(4) != std::string::npos;
        }
        Write(endsWithMark ? "" : "\x04");
    }

    void RegisterTask(ILineProcessor& inProcessor, const ATask& inTask)
    {
        fProcessor = &inProcessor;
        fRegistered.push_back(inTask);
    }
    void CompleteTask(const ILineProcessor& /*inProcessor*/, const std::string& inPattern, LineOrder inOrder)
    {
        fCompleted.emplace_back(inPattern, inOrder);
    }
    ASimpleIteration& GetOutputFile() { return *this; }
    void Write(std::string_view inText) { fOutput += inText; }
    [[nodiscard]] const std::string& GetOutput() const { return fOutput; }

private:
    std::string ReadLine()
    {
        fStart = fAt == 0 || fJob[fAt - 1] == '\n' || fJob[fAt - 1] == '\r' ? ALineStart::kAtLineStart : fStart;
        const std::size_t end = std::min(fJob.find_first_of("\r\n", fAt), fJob.size());
        const std::string line = fJob.substr(fAt, std::min(end + 1 - fAt, kPiece));
        fAt += line.size();
        return line;
    }

    void UpdateTasks()
    {
        for (const auto& done : std::exchange(fCompleted, {}))
        {
            std::erase_if(fTasks,
                          [&](const ATask& inTask) { return std::tie(inTask.fPattern, inTask.fLineOrder) == done; });
        }
        fTasks.insert(fTasks.end(), fRegistered.begin(), fRegistered.end());
        fRegistered.clear();
    }

    bool Matches(const ATask& inTask, std::string_view inLine) const
    {
        const std::string text = std::string(inLine).c_str(); // up to a NUL
        if (!inTask.fPattern.starts_with("%%"))
        {
            return text.find(inTask.fIsRegExp ? "*Duplex" : inTask.fPattern) != std::string::npos;
        }
        const auto first = std::find_if_not(text.begin(), text.end(), IsBlank);
        return fStart != ALineStart::kInsideLine && std::string(first, text.end()).starts_with(inTask.fPattern);
    }

    /// False when the line is to be skipped.
    bool Perform(APostScriptLineInfo& ioLine) const
    {
        for (const ATask& task : fTasks)
        {
            if (task.fLineOrder == ioLine.GetLineOrder() && Matches(task, ioLine.GetText()) &&
                fProcessor->ProcessLine(ioLine) == kLineProcessSkip)
            {
                return false;
            }
        }
        return true;
    }

    void Handle(const std::string& inLine)
    {
        APostScriptLineInfo before({inLine, fStart}, kBeforeLine);
        if (Perform(before))
        {
            Write(before.GetText());
            APostScriptLineInfo after(before.GetLine(), kAfterLine);
            Perform(after);
        }
        const bool isBlank = std::ranges::all_of(inLine, IsBlank);
        fStart = isBlank && fStart != ALineStart::kInsideLine ? ALineStart::kAfterBlanks : ALineStart::kInsideLine;
    }

    std::string fJob;
    ILineProcessor* fProcessor = nullptr;
    std::vector<ATask> fTasks;
    std::vector<std::tuple<std::string, LineOrder>> fCompleted;
    std::vector<ATask> fRegistered;
    std::size_t fAt = 0;
    ALineStart fStart = ALineStart::kAtLineStart;
    std::string fOutput;
};

std::string MakeRandomJob(std::mt19937& ioRandom)
{
    using namespace std::string_view_literals;
    static constexpr std::array kPieces = {"\n"sv,          "\n"sv,     "\r"sv,          "\r\n"sv,       " "sv,
                                           "%%Page: 1 1"sv, "VXName"sv, "%!PS"sv,        "*Duplex"sv,    "\0"sv,
                                           "\x04"sv,        "\x01M"sv,  "%%EndProlog"sv, "(text) show"sv};
    const auto repeat = [&](std::size_t inLeast, std::size_t inMore, std::string_view inBytes)
    { return std::string(inLeast + ioRandom() % inMore, inBytes[ioRandom() % inBytes.size()]); };
    std::string job;
    for (std::size_t pieces = ioRandom() % 200; pieces > 0; --pieces)
    {
        const std::size_t kind = ioRandom() % 720;
        // The last two put what follows across the border of a piece, and across that of a read.
        job += kind < 420   ? std::string(kPieces[ioRandom() % kPieces.size()])
               : kind < 600 ? repeat(0, 60, "ax% *")
               : kind < 660 ? repeat(kPiece * (1 + ioRandom() % 2) - 12, 24, "a \t")
               : kind < 664 ? repeat(2 * kRead - 20 - job.size() % kRead, 24, "a")
                            : "";
    }
    return job;
}

AScript MakeRandomScript(std::mt19937& ioRandom)
{
    using namespace std::string_view_literals;
    static constexpr std::array kPatterns = {"%%Page:"sv, "VXName"sv, "%%EndProlog"sv, "\\*Duplex"sv,
                                             "%!PS"sv,    "ab"sv,     "\x01M"sv};
    AScript script;
    for (std::size_t i = 1 + ioRandom() % 5; i > 0; --i)
    {
        const std::string pattern(kPatterns[ioRandom() % kPatterns.size()]);
        script.fTasks.push_back({pattern, ioRandom() % 2 == 0 ? kBeforeLine : kAfterLine, "", pattern.starts_with('\\'),
                                 ioRandom() % 3 == 0});
    }
    std::generate_n(std::back_inserter(script.fActions), 23, [&] { return ioRandom() % 64; });
    return script;
}

std::string RunReal(const ATemporaryFolder& inFolder, const std::string& inJob, AScript& ioScript)
{
    ACupsFile input(inFolder.Write("job", inJob));
    ACupsFile output(inFolder.GetPath("output"));
    EXPECT_TRUE(input.OpenForRead() && output.OpenForReadAndWrite());
    ADocumentIterator iterator(input, output);
    const AScriptedProcessor processor(iterator, ioScript);
    iterator.IterateDocument();
    EXPECT_TRUE(output.Finish());
    std::ifstream file(inFolder.GetPath("output"), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

TEST(Iteration, SpansAndLinesGiveTheSameJob)
{
    LoggerSetLogLevel(kLogError);
    const ATemporaryFolder folder;
    for (unsigned seed = 0; seed < kJobs; ++seed)
    {
        std::mt19937 random(seed);
        const std::string job = MakeRandomJob(random);
        AScript script = MakeRandomScript(random);
        AScript simpleScript = script;
        ASimpleIteration simple(job);
        const AScriptedProcessor processor(simple, simpleScript);
        simple.IterateDocument();
        ASSERT_TRUE(RunReal(folder, job, script) == simple.GetOutput()) << "seed " << seed;
        ASSERT_TRUE(script.fSeen == simpleScript.fSeen) << "seed " << seed;
    }
    LoggerSetLogLevel(kLogTrace);
}
