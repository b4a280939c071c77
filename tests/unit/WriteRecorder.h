#pragma once

#include <array>
#include <gtest/gtest.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

/// A datagram socket keeps writes apart: what is taken from it is what one write(2) wrote.
class AWriteRecorder
{
public:
    AWriteRecorder() { EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, fEnds.data())); }
    ~AWriteRecorder()
    {
        close(fEnds[0]);
        close(fEnds[1]);
    }
    AWriteRecorder(const AWriteRecorder&) = delete;
    AWriteRecorder& operator=(const AWriteRecorder&) = delete;

    [[nodiscard]] int GetDescriptor() const { return fEnds[0]; }

    /// All that were written.
    [[nodiscard]] std::vector<std::string> TakeWrites() const
    {
        std::vector<std::string> writes;
        while (Wait(0))
        {
            writes.push_back(Take());
        }
        return writes;
    }

    /// Takes writes until they end with this text. Fails when none comes for ten seconds, or too many.
    void TakeUpTo(const std::string& inText) const
    {
        std::string taken;
        while (!taken.ends_with(inText) && taken.size() < 100000 && Wait(10000))
        {
            taken += Take();
        }
        EXPECT_TRUE(taken.ends_with(inText)) << inText;
    }

private:
    [[nodiscard]] bool Wait(int inMilliseconds) const
    {
        pollfd end = {fEnds[1], POLLIN, 0};
        return poll(&end, 1, inMilliseconds) > 0;
    }
    [[nodiscard]] std::string Take() const
    {
        std::array<char, 65536> buffer{};
        return {buffer.data(), static_cast<std::size_t>(read(fEnds[1], buffer.data(), buffer.size()))};
    }

    std::array<int, 2> fEnds{};
};
