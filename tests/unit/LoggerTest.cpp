#include "Imaging/Logger.h"
#include "Imaging/DescriptorOutput.h"
#include "Imaging/Secret.h"
#include "Imaging/StatusLine.h"

#include <array>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <map>
#include <ostream>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <type_traits>
#include <unistd.h>
#include <vector>

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

TEST_F(LoggerTest, DropsWhatLiesAboveTheLevel)
{
    LoggerSetLogLevel(kLogAssertion);
    LoggerLogMessage(kLogTrace, "trace %d", 1);
    LogEnteredFunction();
    LoggerLogMessage(kLogError, "error %d", 2);
    EXPECT_TRUE(LogUnless(true, "holds"));
    EXPECT_FALSE(LogUnless(false, "0 == size % 4"));
    EXPECT_THAT(fRecorder.TakeWrites(), ElementsAre("DEBUG: error 2\n", "DEBUG: 0 == size % 4 assertion failed\n"));
}

TEST_F(LoggerTest, TheFormatSurroundsTheMessage)
{
    LoggerSetFormat("<%msg>");
    LoggerLogMessage(kLogTrace, "a\nb\n");
    LoggerSetFormat("bare ");
    LoggerLogMessage(kLogTrace, "c");
    EXPECT_THAT(fRecorder.TakeWrites(), ElementsAre("<a\n<b>\n", "bare c\n"));
}

TEST_F(LoggerTest, ALogFileThatCannotBeOpenedLeavesStandardError)
{
    LoggerSetLogToFile("/nonexistent/folder/log");
    LoggerLogMessage(kLogError, "still here");
    EXPECT_THAT(fRecorder.TakeWrites(), ElementsAre("DEBUG: still here\n"));
}

TEST_F(LoggerTest, ThreadsDoNotMixTheirRecords)
{
    // A pipe takes large writes in parts, which is where two writers would meet.
    std::array<int, 2> ends{};
    ASSERT_EQ(0, pipe2(ends.data(), O_NONBLOCK));
    dup2(ends[1], STDERR_FILENO);
    close(ends[1]);
    constexpr int kRecords = 20;
    const auto logMany = [](char inByte)
    {
        const std::string text(100000, inByte);
        for (int i = 0; i < kRecords; ++i)
        {
            LoggerLogMessage(kLogTrace, "%s", text.c_str());
        }
    };
    std::string all;
    {
        const std::jthread first(logMany, 'a');
        const std::jthread second(logMany, 'b');
        fcntl(ends[0], F_SETFL, 0);
        std::array<char, 65536> buffer{};
        const std::size_t expected = 2 * kRecords * (std::string("DEBUG: \n").size() + 100000);
        for (ssize_t size = 0; all.size() < expected && (size = read(ends[0], buffer.data(), buffer.size())) > 0;)
        {
            all.append(buffer.data(), static_cast<std::size_t>(size));
        }
    }
    close(ends[0]);
    for (const char byte : {'a', 'b'})
    {
        const std::string record = "DEBUG: " + std::string(100000, byte) + "\n";
        int count = 0;
        for (std::size_t at = all.find(record); at != std::string::npos; at = all.find(record, at + 1))
        {
            ++count;
        }
        EXPECT_EQ(kRecords, count);
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

TEST(DescriptorOutput, ReportsARefusedWrite)
{
    const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(full, 0);
    EXPECT_FALSE(WriteWhole(full, "text"));
    EXPECT_EQ(ENOSPC, errno);
    EXPECT_TRUE(WriteWhole(full, ""));
    close(full);
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
    ASecret copy = pin;
    pin = ASecret("56");
    EXPECT_EQ("56", pin.RevealForJob());
    EXPECT_EQ("1234", copy.RevealForJob());
    const ASecret taken = std::move(copy);
    EXPECT_EQ("1234", taken.RevealForJob());
    EXPECT_TRUE(ASecret().IsEmpty());
}

} // namespace
