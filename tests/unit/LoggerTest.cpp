#include "Imaging/Logger.h"
#include "Imaging/Secret.h"
#include "Imaging/StatusLine.h"
#include "WriteRecorder.h"

#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <ostream>
#include <thread>
#include <type_traits>

using testing::ElementsAre;

namespace
{

class LoggerTest : public testing::Test
{
protected:
    LoggerTest() : fStandardError(dup(STDERR_FILENO))
    {
        dup2(fRecorder.GetDescriptor(), STDERR_FILENO);
        LoggerSetLogLevel(kLogTrace);
        LoggerSetLogToFile(nullptr);
        LoggerSetFormat("DEBUG: %msg");
    }
    ~LoggerTest() override
    {
        dup2(fStandardError, STDERR_FILENO);
        close(fStandardError);
    }

    AWriteRecorder fRecorder;

private:
    int fStandardError;
};

TEST_F(LoggerTest, EachRecordIsOneWriteOfPrefixedLines)
{
    const std::map<std::string, std::string> cases = {
        {"", "DEBUG: \n"},
        {"dos\r\n", "DEBUG: dos\n"},
        {"a\nERROR: forged\n", "DEBUG: a\nDEBUG: ERROR: forged\n"},
        {"\n\nb", "DEBUG: \nDEBUG: \nDEBUG: b\n"},
        {"100% %n", "DEBUG: 100% %n\n"},
        {std::string(20000, 'x'), "DEBUG: " + std::string(20000, 'x') + "\n"},
    };
    for (const auto& [message, record] : cases)
    {
        LoggerLogMessage(kLogTrace, "%s", message.c_str());
        EXPECT_THAT(fRecorder.TakeWrites(), ElementsAre(record));
    }
}

TEST_F(LoggerTest, ObeysLevelAndFormatAndKeepsStandardErrorWithoutALogFile)
{
    LoggerSetLogLevel(kLogAssertion);
    LoggerLogMessage(kLogTrace, "trace %d", 1);
    LogEnteredFunction();
    EXPECT_TRUE(LogUnless(true, "holds"));
    EXPECT_FALSE(LogUnless(false, "0 == size % 4"));
    LoggerSetLogToFile("/nonexistent/folder/log");
    LoggerSetFormat("<%msg>");
    LoggerLogMessage(kLogError, "a\nb\n");
    LoggerSetFormat("bare ");
    LoggerLogMessage(kLogError, "c");
    EXPECT_THAT(fRecorder.TakeWrites(),
                ElementsAre("DEBUG: 0 == size % 4 assertion failed\n", "<a\n<b>\n", "bare c\n"));
}

TEST_F(LoggerTest, ThreadsDoNotMixTheirRecords)
{
    // A pipe takes large writes in parts, which is where two writers would meet.
    std::array<int, 2> ends{};
    ASSERT_EQ(0, pipe(ends.data()));
    dup2(ends[1], STDERR_FILENO);
    fcntl(STDERR_FILENO, F_SETFL, O_NONBLOCK);
    close(ends[1]);
    const auto logMany = [](char inByte)
    {
        for (int i = 0; i < 20; ++i)
        {
            LoggerLogMessage(kLogTrace, "%s", std::string(100000, inByte).c_str());
        }
    };
    const std::jthread first(logMany, 'a');
    const std::jthread second(logMany, 'b');
    std::ifstream input("/dev/fd/" + std::to_string(ends[0]));
    close(ends[0]);
    for (int i = 0; i < 40; ++i)
    {
        std::string record;
        std::getline(input, record);
        EXPECT_TRUE(record == "DEBUG: " + std::string(100000, record.empty() ? ' ' : record.back())) << i;
    }
}

TEST(StatusLine, IsOneLineOfOneWrite)
{
    const AWriteRecorder recorder;
    for (const char* const text : {"INFO: plain", "INFO: a\nERROR: b\r\nc\r\n", "", "\n"})
    {
        WriteStatusLine(recorder.GetDescriptor(), text);
    }
    EXPECT_THAT(recorder.TakeWrites(), ElementsAre("INFO: plain\n", "INFO: a ERROR: b  c\n", "\n", "\n"));
}

template <typename Argument>
concept IsPrintable = requires(std::ostream& inStream, Argument inArgument)
{
    inStream << inArgument;
};

// Nothing that prints takes a secret.
static_assert(IsPrintable<const char*> && !IsPrintable<ASecret>);
static_assert(!std::is_convertible_v<ASecret, std::string> && !std::is_convertible_v<ASecret, const char*> &&
              !std::is_convertible_v<ASecret, std::string_view>);

} // namespace
