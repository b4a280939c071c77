#include "Foundation/FileStream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <unistd.h>

#include "Imaging/Logger.h"

namespace
{

constexpr std::size_t kLargestRead = std::size_t{128} * 1024;
// After a jump little is read at first, and then as much as there was: pages in another order are often shorter than a
// full read.
constexpr std::size_t kReadAfterJump = std::size_t{16} * 1024;
// A full read behind what a line search keeps of the read before it.
constexpr std::size_t kReadBufferSize = kLargestRead + std::size_t{16} * 1024;
constexpr std::size_t kWriteBufferSize = std::size_t{128} * 1024;

} // namespace

AFileStream::AFileStream(int inDescriptor, AOwnership inOwnership)
    : fDescriptor(inDescriptor), fOwnership(inOwnership), fFilePosition(lseek(inDescriptor, 0, SEEK_CUR)),
      fHasPosition(fFilePosition >= 0)
{
    fFilePosition = std::max<std::int64_t>(0, fFilePosition);
    fRunStart = fFilePosition - std::ptrdiff_t{kLargestRead};
}

AFileStream::~AFileStream()
{
    Close();
}

bool AFileStream::Close()
{
    const bool isWhole = Flush();
    if (IsOpen() && fOwnership == AOwnership::kOwned)
    {
        close(fDescriptor);
    }
    fDescriptor = -1;
    fBegin = fEnd = 0;
    return isWhole;
}

std::string_view AFileStream::GetBuffered() const
{
    return {fReadBuffer.get() + fBegin, fEnd - fBegin};
}

std::size_t AFileStream::GetNextReadSize(std::size_t inLimit) const
{
    const auto run = static_cast<std::size_t>(fFilePosition - fRunStart);
    return std::min({inLimit, std::clamp(run, kReadAfterJump, kLargestRead), kReadBufferSize - fEnd});
}

void AFileStream::MoveBufferedToFront()
{
    if (fReadBuffer == nullptr)
    {
        fReadBuffer = std::make_unique_for_overwrite<char[]>(kReadBufferSize);
    }
    if (fBegin != 0)
    {
        std::memmove(fReadBuffer.get(), fReadBuffer.get() + fBegin, fEnd - fBegin);
        fEnd -= fBegin;
        fBegin = 0;
    }
}

bool AFileStream::Fill(std::size_t inLimit)
{
    if (!IsOpen() || fIsEOF || fReadError != 0)
    {
        return false;
    }
    MoveBufferedToFront();
    const std::size_t size = GetNextReadSize(inLimit);
    return size != 0 && ReadMore(size);
}

bool AFileStream::ReadMore(std::size_t inSize)
{
    for (;;)
    {
        const ssize_t count = read(fDescriptor, fReadBuffer.get() + fEnd, inSize);
        if (count > 0)
        {
            fEnd += static_cast<std::size_t>(count);
            fFilePosition += count;
            return true;
        }
        if (count == 0)
        {
            fIsEOF = true;
            return false;
        }
        if (errno != EINTR && !(errno == EAGAIN && WaitUntilReady(POLLIN)))
        {
            NoteReadError(errno);
            return false;
        }
    }
}

void AFileStream::NoteReadError(int inError)
{
    fReadError = inError;
    LoggerLogMessage(kLogError, "Error reading file data - %s\n", std::strerror(inError));
}

bool AFileStream::WaitUntilReady(short inEvents) const
{
    pollfd waiting{fDescriptor, inEvents, 0};
    return poll(&waiting, 1, -1) > 0 || errno == EINTR;
}

void AFileStream::Consume(std::size_t inSize)
{
    fBegin += std::min(inSize, fEnd - fBegin);
}

void AFileStream::Unconsume(std::size_t inSize)
{
    fBegin -= std::min(inSize, fBegin);
}

std::size_t AFileStream::Write(std::string_view inData)
{
    if (!IsOpen() || fWriteError != 0 || inData.empty())
    {
        return 0;
    }
    fLastWritten = inData.back();
    if (!fHasPosition && inData.size() >= kWriteBufferSize / 2)
    {
        return Flush() && WriteOut(inData) ? inData.size() : 0;
    }
    fWriteBuffer.reserve(kWriteBufferSize);
    std::string_view rest = inData;
    for (std::size_t room = GetRoom(); rest.size() >= room; room = GetRoom())
    {
        Buffer(rest.substr(0, room));
        rest.remove_prefix(room);
        if (!Flush())
        {
            return 0;
        }
    }
    Buffer(rest);
    return inData.size();
}

/// How much the buffer takes before it is written. Full ones lie side by side in a file: none ends within a page of the
/// system's cache, which takes it longer than the copy of every byte into this buffer.
std::size_t AFileStream::GetRoom() const
{
    return kWriteBufferSize - static_cast<std::size_t>(GetPosition()) % kWriteBufferSize;
}

void AFileStream::Buffer(std::string_view inData)
{
    fWriteBuffer.insert(fWriteBuffer.end(), inData.begin(), inData.end());
}

bool AFileStream::Flush()
{
    if (fWriteError == 0 && !fWriteBuffer.empty())
    {
        WriteOut({fWriteBuffer.data(), fWriteBuffer.size()});
    }
    fWriteBuffer.clear();
    return fWriteError == 0;
}

bool AFileStream::WriteOut(std::string_view inData)
{
    while (!inData.empty())
    {
        const ssize_t count = write(fDescriptor, inData.data(), inData.size());
        if (count > 0)
        {
            inData.remove_prefix(static_cast<std::size_t>(count));
            fFilePosition += count;
        }
        else if (count == 0)
        {
            // No device takes nothing and means to take more.
            fWriteError = EIO;
            return false;
        }
        else if (errno != EINTR && !(errno == EAGAIN && WaitUntilReady(POLLOUT)))
        {
            fWriteError = errno;
            return false;
        }
    }
    return true;
}

std::int64_t AFileStream::GetPosition() const
{
    const auto unread = static_cast<std::int64_t>(fEnd - fBegin);
    return fFilePosition - unread + static_cast<std::int64_t>(fWriteBuffer.size());
}

int AFileStream::SetPosition(std::int64_t inOffset, int inWhence)
{
    const bool isRelative = inWhence == SEEK_CUR;
    const std::int64_t target = isRelative ? GetPosition() + inOffset : inOffset;
    // What a failed flush loses is kept as the stream's error.
    static_cast<void>(Flush());
    const std::int64_t bufferStart = fFilePosition - static_cast<std::int64_t>(fEnd);
    const bool isBuffered = inWhence != SEEK_END && target >= bufferStart && target <= fFilePosition && fEnd != 0;
    if (isBuffered)
    {
        fBegin = static_cast<std::size_t>(target - bufferStart);
    }
    else
    {
        const off_t reached = lseek(fDescriptor, target, isRelative ? SEEK_SET : inWhence);
        if (reached < 0)
        {
            NoteFailedSeek(errno);
            return -1;
        }
        fFilePosition = fRunStart = reached;
        fBegin = fEnd = 0;
    }
    fIsEOF = false;
    return 0;
}

/// A pipe cannot be positioned and is read on. Of any other file the next bytes would be the wrong ones.
void AFileStream::NoteFailedSeek(int inError)
{
    if (inError != ESPIPE)
    {
        NoteReadError(inError);
        fBegin = fEnd = 0;
    }
}

bool AFileStream::LendFromStart()
{
    const bool isWhole = Flush();
    // Nothing may be taken for buffered that the other process moves away from.
    fBegin = fEnd = 0;
    fFilePosition = fRunStart = 0;
    return lseek(fDescriptor, 0, SEEK_SET) == 0 && isWhole;
}
