// The engine copies spans and looks only at lines that can matter. Whatever the job, its output and what its tasks see
// must be what reading line by line gives: a deliberately simple line-by-line iteration stands here beside the real
// one.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>

#include "Foundation/DocumentIterator.h"
#include "Imaging/Logger.h"
#include "Launch.h"
#include "TemporaryFolder.h"
#include "TestSupport.h"

namespace
{

constexpr std::array<const char*, 7> kPatterns = {"%%Page:", "VXName", "%%EndProlog", "*Duplex", "%!PS", "ab", "\x01M"};

/// The tasks, and what one does at its n-th call: the same in both iterations.
struct AScript
{
    std::vector<AProcessingTask::ADeclaration> fTasks;
    std::vector<int> fActions;
    std::vector<std::string> fSeen;

    int Next(bool inIsBefore, std::string_view inText)
    {
        fSeen.push_back((inIsBefore ? "pre: " : "post: ") + std::string(inText));
        return fActions[(fSeen.size() - 1) % fActions.size()];
    }
};

class AScriptedProcessor final : public ILineProcessor
{
public:
    AScriptedProcessor(ADocumentIterator& ioIterator, AScript& ioScript) : fIterator(ioIterator), fScript(ioScript)
    {
        for (const auto& task : fScript.fTasks)
        {
            fIterator.RegisterTask(*this, task);
        }
    }
    const char* GetName() const override { return "Scripted"; }
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override
    {
        const bool isBefore = ioLine.GetLineOrder() == kBeforeLine;
        const int action = fScript.Next(isBefore, ioLine.GetText());
        const AProcessingTask::ADeclaration& task =
            fScript.fTasks[static_cast<std::size_t>(action) % fScript.fTasks.size()];
        switch (action % 8)
        {
        case 0:
            return isBefore ? kLineProcessSkip : kLineProcessUnchanged;
        case 1:
            ioLine.SetLine("replaced %%Page: VXName\n");
            return kLineProcessChanged;
        case 2:
            fIterator.GetOutputFile().Write("written\n");
            return kLineProcessUnchanged;
        case 3:
        case 4:
            fIterator.CompleteTask(*this, task.fPattern, task.fLineOrder);
            return kLineProcessUnchanged;
        case 5:
            fIterator.RegisterTask(*this, task);
            return kLineProcessUnchanged;
        default:
            return kLineProcessUnchanged;
        }
    }

private:
    ADocumentIterator& fIterator;
    AScript& fScript;
};

/// The iteration as it is described, a line at a time.
class ASimpleIteration
{
public:
    ASimpleIteration(std::string inJob, AScript& ioScript) : fJob(std::move(inJob)), fScript(ioScript) {}

    std::string Run()
    {
        for (const auto& task : fScript.fTasks)
        {
            Register(task);
        }
        bool endsWithMark = false;
        bool isEOF = false;
        while (!isEOF && fCount != 0)
        {
            std::string line = ReadLine(isEOF);
            endsWithMark = isEOF && std::strchr(line.c_str(), 4) != nullptr;
            if (line.empty())
            {
                continue;
            }
            Update();
            Handle(line);
        }
        if (!isEOF)
        {
            for (; fAt < fJob.size(); fAt += 131070)
            {
                const std::string block = fJob.substr(fAt, 131070);
                fOutput += block;
                endsWithMark = block.find(4) != std::string::npos;
            }
        }
        return endsWithMark ? fOutput : fOutput + "\x04";
    }

private:
    struct ATaskState
    {
        AProcessingTask::ADeclaration fTask;
        bool fIsDone = false;
    };

    std::string ReadLine(bool& outIsEOF)
    {
        fStart = fAt == 0 || fJob[fAt - 1] == '\n' || fJob[fAt - 1] == '\r' ? ALineStart::kAtLineStart : fStart;
        std::string line;
        while (line.size() < 8191 && fAt < fJob.size())
        {
            line += fJob[fAt++];
            if (line.back() == '\n' || line.back() == '\r')
            {
                outIsEOF = false;
                return line;
            }
        }
        outIsEOF = line.size() < 8191;
        return line;
    }

    bool Matches(const AProcessingTask::ADeclaration& inTask, const std::string& inLine) const
    {
        const char* const text = inLine.c_str();
        if (inTask.fIsRegExp)
        {
            return std::strstr(text, "*Duplex") != nullptr;
        }
        if (inTask.fPattern.compare(0, 2, "%%") != 0)
        {
            return std::strstr(text, inTask.fPattern.c_str()) != nullptr;
        }
        const char* first = text;
        while (*first != '\0' && static_cast<unsigned char>(*first) <= ' ')
        {
            ++first;
        }
        return fStart != ALineStart::kInsideLine &&
               std::strncmp(first, inTask.fPattern.c_str(), inTask.fPattern.size()) == 0;
    }

    void Register(const AProcessingTask::ADeclaration& inTask)
    {
        fTasks.push_back({inTask});
        fCount += inTask.fIsOptional ? 0 : 1;
    }

    void Update()
    {
        for (const auto& task : fPending)
        {
            Register(task);
        }
        fPending.clear();
        for (auto task = fTasks.begin(); task != fTasks.end();)
        {
            fCount -= task->fIsDone && !task->fTask.fIsOptional ? 1 : 0;
            task = task->fIsDone ? fTasks.erase(task) : task + 1;
        }
    }

    /// Returns whether the line was skipped.
    bool Perform(std::string& ioLine, LineOrder inOrder)
    {
        for (std::size_t i = 0; i < fTasks.size(); ++i)
        {
            if (fTasks[i].fTask.fLineOrder != inOrder || !Matches(fTasks[i].fTask, ioLine))
            {
                continue;
            }
            const int action = fScript.Next(inOrder == kBeforeLine, ioLine);
            const auto& task = fScript.fTasks[static_cast<std::size_t>(action) % fScript.fTasks.size()];
            if (action % 8 == 0 && inOrder == kBeforeLine)
            {
                return true;
            }
            if (action % 8 == 1)
            {
                ioLine = "replaced %%Page: VXName\n";
            }
            fOutput += action % 8 == 2 ? "written\n" : "";
            if (action % 8 == 3 || action % 8 == 4)
            {
                for (auto& other : fTasks)
                {
                    other.fIsDone = other.fIsDone || (other.fTask.fPattern == task.fPattern &&
                                                      other.fTask.fLineOrder == task.fLineOrder);
                }
            }
            if (action % 8 == 5)
            {
                fPending.push_back(task);
            }
        }
        return false;
    }

    void Handle(std::string ioLine)
    {
        const std::string whole = ioLine;
        if (!Perform(ioLine, kBeforeLine))
        {
            fOutput += ioLine;
            std::string written = ioLine;
            Perform(written, kAfterLine);
        }
        const bool isBlank =
            std::all_of(whole.begin(), whole.end(), [](unsigned char inByte) { return inByte <= ' '; });
        fStart = isBlank && fStart != ALineStart::kInsideLine ? ALineStart::kAfterBlanks : ALineStart::kInsideLine;
    }

    std::string fJob;
    AScript& fScript;
    std::size_t fAt = 0;
    ALineStart fStart = ALineStart::kAtLineStart;
    int fCount = 0;
    std::vector<ATaskState> fTasks;
    std::vector<AProcessingTask::ADeclaration> fPending;
    std::string fOutput;
};

using ARandom = std::mt19937;

int Pick(ARandom& ioRandom, int inCount)
{
    return static_cast<int>(ioRandom() % static_cast<unsigned>(inCount));
}

std::string MakeRandomJob(ARandom& ioRandom)
{
    static const std::array<std::string, 14> kPieces = {"\n",          "\n",     "\r",          "\r\n",       " ",
                                                        "%%Page: 1 1", "VXName", "%%EndProlog", "%!PS",       "*Duplex",
                                                        {"\0", 1},     "\x04",   "\x01M",       "(text) show"};
    std::string job;
    const int pieces = Pick(ioRandom, 200);
    for (int i = 0; i < pieces; ++i)
    {
        const int kind = Pick(ioRandom, 24);
        if (kind < 14)
        {
            job += kPieces[static_cast<std::size_t>(kind)];
        }
        else if (kind < 20)
        {
            job += std::string(static_cast<std::size_t>(Pick(ioRandom, 60)), "ax% *"[Pick(ioRandom, 5)]);
        }
        else if (kind < 22) // puts what follows across the border of a piece
        {
            job += std::string(static_cast<std::size_t>(8191 - 12 + Pick(ioRandom, 24)), "a \t"[Pick(ioRandom, 3)]);
        }
        else if (Pick(ioRandom, 30) == 0) // across the border of a read
        {
            job += std::string(static_cast<std::size_t>(131072 - 20 + Pick(ioRandom, 40)), "a\n"[Pick(ioRandom, 2)]);
        }
    }
    return job;
}

AScript MakeRandomScript(ARandom& ioRandom)
{
    AScript script;
    for (int i = 1 + Pick(ioRandom, 5); i > 0; --i)
    {
        const char* pattern = kPatterns[static_cast<std::size_t>(Pick(ioRandom, static_cast<int>(kPatterns.size())))];
        const bool isRegExp = std::strcmp(pattern, "*Duplex") == 0;
        script.fTasks.push_back({isRegExp ? "\\*Duplex" : pattern, Pick(ioRandom, 2) == 0 ? kBeforeLine : kAfterLine,
                                 "", isRegExp, Pick(ioRandom, 3) == 0});
    }
    for (int i = 0; i < 23; ++i)
    {
        script.fActions.push_back(Pick(ioRandom, 64));
    }
    return script;
}

std::string RunReal(const ATemporaryFolder& inFolder, const std::string& inJob, AScript& ioScript)
{
    ACupsFile input(inFolder.Write("job", inJob));
    ACupsFile output(inFolder.GetPath("output"));
    EXPECT_TRUE(input.OpenForRead() && output.OpenForReadAndWrite());
    {
        ADocumentIterator iterator(input, output);
        const AScriptedProcessor processor(iterator, ioScript);
        iterator.IterateDocument();
    }
    EXPECT_TRUE(output.Finish());
    output.Close();
    input.Close();
    return ReadFile(inFolder.GetPath("output"));
}

} // namespace

TEST(Iteration, SpansAndLinesGiveTheSameJob)
{
    LoggerSetLogLevel(kLogError);
    const ATemporaryFolder folder;
    for (unsigned seed = 0; seed < (kIsSanitized ? 200 : 1000); ++seed)
    {
        ARandom random(seed);
        const std::string job = MakeRandomJob(random);
        AScript script = MakeRandomScript(random);
        AScript simpleScript = script;
        const std::string output = RunReal(folder, job, script);
        const std::string expected = ASimpleIteration(job, simpleScript).Run();
        ASSERT_TRUE(output == expected) << "seed " << seed << ": " << output.size() << " bytes, not "
                                        << expected.size();
        ASSERT_TRUE(script.fSeen == simpleScript.fSeen) << "seed " << seed;
    }
    LoggerSetLogLevel(kLogTrace);
}

TEST(Iteration, FindsALineThatTwoReadsBring)
{
    LoggerSetLogLevel(kLogError);
    const ATemporaryFolder folder;
    constexpr std::size_t kRead = 131072;
    for (std::size_t before = kRead - 24; before <= kRead; ++before)
    {
        AScript script;
        script.fTasks.push_back({"VXName", kBeforeLine, "", false, false});
        script.fActions = {7};
        const std::string job = std::string(before, '\n') + "some code VXName Set\nmore\n";
        EXPECT_TRUE(RunReal(folder, job, script) == job + "\x04") << before;
        EXPECT_EQ(script.fSeen.size(), 1U) << before;
    }
    LoggerSetLogLevel(kLogTrace);
}
