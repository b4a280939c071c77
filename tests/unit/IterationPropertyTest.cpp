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

constexpr const char* kReplacement = "replaced %%Page: VXName\n";
constexpr std::size_t kPiece = 8191;  ///< bytes of a line that are handled at a time
constexpr std::size_t kRead = 131072; ///< bytes that a read brings at most

/// The tasks, and what one does at its n-th call: the same in both iterations.
struct AScript
{
    template <typename Iteration>
    LineProcessStatus Perform(LineOrder inOrder, std::string_view inText, Iteration& ioIteration)
    {
        fSeen.push_back((inOrder == kBeforeLine ? "pre: " : "post: ") + std::string(inText));
        const std::size_t action = fActions[(fSeen.size() - 1) % fActions.size()];
        const ATask& task = fTasks[action % fTasks.size()];
        switch (action % 8)
        {
        case 0:
            return inOrder == kBeforeLine ? kLineProcessSkip : kLineProcessUnchanged;
        case 1:
            return kLineProcessChanged;
        case 2:
            ioIteration.Write("written\n");
            break;
        case 3:
        case 4:
            ioIteration.Complete(task);
            break;
        case 5:
            ioIteration.Register(task);
            break;
        }
        return kLineProcessUnchanged;
    }

    std::vector<ATask> fTasks;
    std::vector<std::size_t> fActions;
    std::vector<std::string> fSeen = {};
};

class AScriptedProcessor final : public ILineProcessor
{
public:
    AScriptedProcessor(ADocumentIterator& ioIterator, AScript& ioScript) : fIterator(ioIterator), fScript(ioScript)
    {
        std::for_each(fScript.fTasks.begin(), fScript.fTasks.end(), [this](const ATask& inTask) { Register(inTask); });
    }
    const char* GetName() const override { return "Scripted"; }
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override
    {
        const LineProcessStatus status = fScript.Perform(ioLine.GetLineOrder(), ioLine.GetText(), *this);
        if (status == kLineProcessChanged)
        {
            ioLine.SetLine(kReplacement);
        }
        return status;
    }
    void Write(const char* inText) { fIterator.GetOutputFile().Write(inText); }
    void Complete(const ATask& inTask) { fIterator.CompleteTask(*this, inTask.fPattern, inTask.fLineOrder); }
    void Register(const ATask& inTask) { fIterator.RegisterTask(*this, inTask); }

private:
    ADocumentIterator& fIterator;
    AScript& fScript;
};

bool IsBlank(char inByte)
{
    return static_cast<unsigned char>(inByte) <= ' ';
}

/// The iteration as it is described, a line at a time.
class ASimpleIteration
{
public:
    ASimpleIteration(std::string inJob, AScript& ioScript)
        : fJob(std::move(inJob)), fScript(ioScript), fTasks(ioScript.fTasks)
    {
    }

    std::string Run()
    {
        bool endsWithMark = false;
        bool isEOF = false;
        while (!isEOF &&
               std::any_of(fTasks.begin(), fTasks.end(), [](const ATask& inTask) { return !inTask.fIsOptional; }))
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
            fOutput += block;
            endsWithMark = block.find(4) != std::string::npos;
        }
        return endsWithMark ? fOutput : fOutput + "\x04";
    }

    void Write(const char* inText) { fOutput += inText; }
    void Complete(const ATask& inTask) { fCompleted.push_back(inTask); }
    void Register(const ATask& inTask) { fRegistered.push_back(inTask); }

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
        for (const ATask& done : fCompleted)
        {
            std::erase_if(fTasks, [&](const ATask& inTask)
                          { return inTask.fPattern == done.fPattern && inTask.fLineOrder == done.fLineOrder; });
        }
        fTasks.insert(fTasks.end(), fRegistered.begin(), fRegistered.end());
        fCompleted.clear();
        fRegistered.clear();
    }

    bool Matches(const ATask& inTask, const std::string& inLine) const
    {
        const std::string text = inLine.c_str(); // up to a NUL
        if (!inTask.fPattern.starts_with("%%"))
        {
            return text.find(inTask.fIsRegExp ? "*Duplex" : inTask.fPattern) != std::string::npos;
        }
        const auto first = std::find_if_not(text.begin(), text.end(), IsBlank);
        return fStart != ALineStart::kInsideLine && std::string(first, text.end()).starts_with(inTask.fPattern);
    }

    /// False when the line is to be skipped.
    bool Perform(std::string& ioLine, LineOrder inOrder)
    {
        for (const ATask& task : fTasks)
        {
            if (task.fLineOrder == inOrder && Matches(task, ioLine))
            {
                const LineProcessStatus status = fScript.Perform(inOrder, ioLine, *this);
                if (status == kLineProcessSkip)
                {
                    return false;
                }
                ioLine = status == kLineProcessChanged ? kReplacement : ioLine;
            }
        }
        return true;
    }

    void Handle(const std::string& inLine)
    {
        std::string line = inLine;
        if (Perform(line, kBeforeLine))
        {
            fOutput += line;
            Perform(line, kAfterLine);
        }
        const bool isBlank = std::all_of(inLine.begin(), inLine.end(), IsBlank);
        fStart = isBlank && fStart != ALineStart::kInsideLine ? ALineStart::kAfterBlanks : ALineStart::kInsideLine;
    }

    std::string fJob;
    AScript& fScript;
    std::vector<ATask> fTasks;
    std::vector<ATask> fCompleted;
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
               : kind < 662 ? repeat(kRead - 20, 40, "a\n")
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
    LoggerSetLogLevel(kLogError);
    ACupsFile input(inFolder.Write("job", inJob));
    ACupsFile output(inFolder.GetPath("output"));
    EXPECT_TRUE(input.OpenForRead() && output.OpenForReadAndWrite());
    ADocumentIterator iterator(input, output);
    const AScriptedProcessor processor(iterator, ioScript);
    iterator.IterateDocument();
    EXPECT_TRUE(output.Finish());
    LoggerSetLogLevel(kLogTrace);
    std::ifstream file(inFolder.GetPath("output"), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

TEST(Iteration, SpansAndLinesGiveTheSameJob)
{
    const ATemporaryFolder folder;
    for (unsigned seed = 0; seed < kJobs; ++seed)
    {
        std::mt19937 random(seed);
        const std::string job = MakeRandomJob(random);
        AScript script = MakeRandomScript(random);
        AScript simpleScript = script;
        const std::string output = RunReal(folder, job, script);
        const std::string expected = ASimpleIteration(job, simpleScript).Run();
        ASSERT_TRUE(output == expected) << "seed " << seed << ": " << output.size() << " bytes, not "
                                        << expected.size();
        ASSERT_TRUE(script.fSeen == simpleScript.fSeen) << "seed " << seed;
    }
}

TEST(Iteration, FindsALineThatTwoReadsBring)
{
    const ATemporaryFolder folder;
    for (std::size_t before = kRead - 24; before <= kRead; ++before)
    {
        AScript script = {{{"VXName", kBeforeLine, ""}}, {7}};
        const std::string job = std::string(before, '\n') + "some code VXName Set\nmore\n";
        EXPECT_TRUE(RunReal(folder, job, script) == job + "\x04") << before;
        EXPECT_EQ(script.fSeen.size(), 1U) << before;
    }
}
