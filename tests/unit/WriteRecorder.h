#pragma once

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>
#include <vector>

/// A datagram socket keeps writes apart: what is taken from it is what one write(2) wrote.
class AWriteRecorder
{
public:
    AWriteRecorder()
    {
        const timeval limit = {10, 0};
        EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0, fEnds.data()));
        EXPECT_EQ(0, setsockopt(fEnds[1], SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit));
    }
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
        for (std::string write; !(write = Take(MSG_DONTWAIT)).empty();)
        {
            writes.push_back(write);
        }
        return writes;
    }

    /// Takes writes until they end with this text. Fails when none comes for ten seconds, or too many.
    void TakeUpTo(const std::string& inText) const
    {
        for (std::string taken; !taken.ends_with(inText);)
        {
            const std::string write = Take(0);
            ASSERT_TRUE(!write.empty() && taken.size() < 20000) << inText;
            taken += write;
        }
    }

private:
    [[nodiscard]] std::string Take(int inFlags) const
    {
        std::array<char, 65536> buffer{};
        const ssize_t size = recv(fEnds[1], buffer.data(), buffer.size(), inFlags);
        return {buffer.data(), static_cast<std::size_t>(size < 0 ? 0 : size)};
    }

    std::array<int, 2> fEnds{};
};
