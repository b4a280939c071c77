#include "Imaging/Logger.h"
#include "Imaging/Secret.h"
#include "Imaging/StatusLine.h"
#include "TestSupport.h"

#include <array>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <map>
#include <ostream>
#include <sys/socket.h>
#include <thread>
#include <type_traits>
#include <unistd.h>
#include <vector>

using namespace std::string_view_literals;
using testing::ElementsAre;

namespace
{

/// A datagram socket keeps writes apart: what is taken from it is what one write(2) wrote.
class AWriteRecorder
{
public:
    AWriteRecorder() { EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_DGRAM, 0, fEnds.data())); }
    ~AWriteRecorder()
    {
        close(fEnds[0]);
        close(fEnds[1]);
    }
    AWriteRecorder(const AWriteRecorder&) = delete;
    AWriteRecorder& operator=(const AWriteRecorder&) = delete;

    [[nodiscard]] int GetDescriptor() const { return fEnds[0]; }

    [[nodiscard]] std::vector<std::string> TakeWrites() const
    {
        std::vector<std::string> writes;
        std::array<char, 65536> buffer{};
        for (ssize_t size = 0; (size = recv(fEnds[1], buffer.data(), buffer.size(), MSG_DONTWAIT)) >= 0;)
        {
            writes.emplace_back(buffer.data(), static_cast<std::size_t>(size));
        }
        return writes;
    }

private:
    std::array<int, 2> fEnds{};
};

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
        {"plain", "DEBUG: plain\n"},
        {"", "DEBUG: \n"},
        {"newline\n", "DEBUG: newline\n"},
        {"dos\r\n", "DEBUG: dos\n"},
        {"mac\r", "DEBUG: mac\n"},
        {"many\n\n", "DEBUG: many\n"},
        {"a\nERROR: forged\n", "DEBUG: a\nDEBUG: ERROR: forged\n"},
        {"a\n\n\nb", "DEBUG: a\nDEBUG: \nDEBUG: \nDEBUG: b\n"},
        {"\nb", "DEBUG: \nDEBUG: b\n"},
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
    ASSERT_EQ(0, pipe2(ends.data(), O_NONBLOCK));
    dup2(ends[1], STDERR_FILENO);
    close(ends[1]);
    fcntl(ends[0], F_SETFL, 0);
    constexpr std::size_t kRecords = 20;
    const std::array<std::string, 2> texts = {std::string(100000, 'a'), std::string(100000, 'b')};
    const auto logMany = [](const std::string& inText)
    {
        for (std::size_t i = 0; i < kRecords; ++i)
        {
            LoggerLogMessage(kLogTrace, "%s", inText.c_str());
        }
    };
    const std::jthread first(logMany, std::ref(texts[0]));
    const std::jthread second(logMany, std::ref(texts[1]));
    std::string all(2 * kRecords * ("DEBUG: \n"sv.size() + 100000), '\0');
    for (std::size_t size = 0; size < all.size();)
    {
        const ssize_t count = read(ends[0], &all[size], all.size() - size);
        ASSERT_GT(count, 0);
        size += static_cast<std::size_t>(count);
    }
    close(ends[0]);
    for (const std::string& text : texts)
    {
        EXPECT_EQ(kRecords, CountOf(all, "DEBUG: " + text + "\n"));
    }
}

TEST(StatusLine, IsOneLineOfOneWrite)
{
    const AWriteRecorder recorder;
    for (const char* const text : {"INFO: plain", "INFO: ended\r\n", "INFO: a\nERROR: b\r\nc", "", "\n"})
    {
        WriteStatusLine(recorder.GetDescriptor(), text);
    }
    EXPECT_THAT(recorder.TakeWrites(),
                ElementsAre("INFO: plain\n", "INFO: ended\n", "INFO: a ERROR: b  c\n", "\n", "\n"));
}

template <typename Argument>
concept IsPrintable = requires(std::ostream& inStream, Argument inArgument)
{
    inStream << inArgument;
};

TEST(Secret, IsRefusedByEverythingThatPrints)
{
    static_assert(IsPrintable<const char*> && !IsPrintable<ASecret>);
    static_assert(!std::is_convertible_v<ASecret, std::string> && !std::is_convertible_v<ASecret, const char*> &&
                  !std::is_convertible_v<ASecret, std::string_view>);

    ASecret pin("1234");
    const ASecret copy = pin;
    pin = ASecret("56");
    EXPECT_EQ("56", pin.RevealForJob());
    EXPECT_EQ("1234", copy.RevealForJob());
}

} // namespace
