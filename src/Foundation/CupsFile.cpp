#include "Foundation/CupsFile.h"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <cups/cups.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Foundation/SignalBlock.h"
#include "Imaging/Logger.h"

namespace
{

bool IsKind(int inDescriptor, mode_t inKind)
{
    struct stat info = {};
    return fstat(inDescriptor, &info) == 0 && (info.st_mode & S_IFMT) == inKind;
}

bool AreSameFile(int inDescriptor, int inOther)
{
    struct stat info = {};
    struct stat other = {};
    return fstat(inDescriptor, &info) == 0 && fstat(inOther, &other) == 0 && info.st_dev == other.st_dev &&
           info.st_ino == other.st_ino;
}

constexpr int kPipeSize = 1024 * 1024;

} // namespace

bool ACupsFile::Adopt(int inDescriptor, AFileStream::AOwnership inOwnership)
{
    fStream = std::make_shared<ALineStream>(inDescriptor, inOwnership);
    return true;
}

bool ACupsFile::Open(int inFlags)
{
    Close();
    if (fName.empty())
    {
        return false;
    }
    const int descriptor = open(fName.c_str(), inFlags | O_CLOEXEC, 0666); // NOLINT(*-vararg)
    if (descriptor >= 0 && !IsKind(descriptor, S_IFDIR))
    {
        return Adopt(descriptor, AFileStream::AOwnership::kOwned);
    }
    const int error = descriptor < 0 ? errno : EISDIR;
    if (descriptor >= 0)
    {
        close(descriptor);
    }
    LoggerLogMessage(kLogError, "Unable to open file \"%s\": %s\n", fName.c_str(), std::strerror(error));
    return false;
}

bool ACupsFile::OpenForRead()
{
    return Open(O_RDONLY);
}

bool ACupsFile::OpenForWrite()
{
    return Open(O_WRONLY | O_CREAT | O_TRUNC);
}

bool ACupsFile::OpenForReadAndWrite()
{
    return Open(O_RDWR | O_CREAT | O_TRUNC);
}

bool ACupsFile::OpenForDump(const ACupsFile* inSource)
{
    Close();
    // Without O_NONBLOCK a pipe at that place would hold the job until somebody reads it.
    constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    const int descriptor = open(fName.c_str(), kFlags, 0666); // NOLINT(*-vararg)
    if (descriptor < 0)
    {
        return false;
    }
    const bool isSource = inSource != nullptr && AreSameFile(descriptor, inSource->GetFileDescriptor());
    if (!IsKind(descriptor, S_IFREG) || isSource || ftruncate(descriptor, 0) != 0)
    {
        close(descriptor);
        return false;
    }
    return Adopt(descriptor, AFileStream::AOwnership::kOwned);
}

bool ACupsFile::OpenTemporaryFile()
{
    Close();
    fName.clear();
    const ASignalBlock block; // what has a name for a moment must lose it before the process may end
    std::array<char, 1024> name{};
    const int descriptor = cupsTempFd(name.data(), static_cast<int>(name.size()));
    if (descriptor < 0)
    {
        LoggerLogMessage(kLogError, "Unable to open file \"%s\": %s\n", name.data(), std::strerror(errno));
        return false;
    }
    unlink(name.data());
    fcntl(descriptor, F_SETFD, FD_CLOEXEC); // NOLINT(*-vararg)
    return Adopt(descriptor, AFileStream::AOwnership::kOwned);
}

bool ACupsFile::OpenStandardStream(int inDescriptor)
{
    Close();
    fName.clear();
    // What the caller closed before it started us is held by a descriptor that nothing goes through.
    const int flags = fcntl(inDescriptor, F_GETFL); // NOLINT(*-vararg)
    if (flags < 0 || (flags & O_PATH) != 0)
    {
        return false;
    }
    // Fewer turns between the processes of the filter chain; a refusal costs nothing, what is no pipe refuses.
    fcntl(inDescriptor, F_SETPIPE_SZ, kPipeSize); // NOLINT(*-vararg)
    return Adopt(inDescriptor, AFileStream::AOwnership::kBorrowed);
}

bool ACupsFile::OpenStdinFile()
{
    return OpenStandardStream(STDIN_FILENO);
}

bool ACupsFile::OpenStdoutFile()
{
    return OpenStandardStream(STDOUT_FILENO);
}

void ACupsFile::Close()
{
    if (fStream != nullptr)
    {
        fStream->GetBytes().Close();
        fStream.reset();
    }
}

void ACupsFile::RemoveFile()
{
    Close();
    if (!fName.empty())
    {
        std::remove(fName.c_str());
        fName.clear();
    }
}

std::int64_t ACupsFile::GetPosition() const
{
    return IsOpen() ? fStream->GetBytes().GetPosition() : -1;
}

int ACupsFile::SetPosition(std::int64_t inOffset, int inWhence)
{
    return IsOpen() ? fStream->SetPosition(inOffset, inWhence) : -1;
}

int ACupsFile::GetFileDescriptor() const
{
    return IsOpen() ? fStream->GetBytes().GetDescriptor() : -1;
}

AJobLine ACupsFile::ReadLine(std::size_t inBufferSize, bool& outIsEOF)
{
    outIsEOF = !IsOpen();
    return IsOpen() ? fStream->ReadLine(inBufferSize, outIsEOF) : AJobLine{};
}

void ACupsFile::UnreadLine()
{
    if (IsOpen())
    {
        fStream->UnreadLine();
    }
}

AJobLine ACupsFile::CopyToLine(const ALineNeedles& inNeedles, ACupsFile* outCopy, bool& outIsEOF)
{
    outIsEOF = !IsOpen();
    AFileStream* const copy = outCopy != nullptr && outCopy->IsOpen() ? &outCopy->fStream->GetBytes() : nullptr;
    return IsOpen() ? fStream->CopyToLine(inNeedles, copy, outIsEOF) : AJobLine{};
}

std::size_t ACupsFile::CopyBlock(ACupsFile& outCopy, std::size_t inSize, char inByte, bool& outHoldsByte)
{
    const bool areOpen = IsOpen() && outCopy.IsOpen();
    return areOpen ? fStream->CopyBlock(outCopy.fStream->GetBytes(), inSize, inByte, outHoldsByte) : 0;
}

std::size_t ACupsFile::CopyAvailable(ACupsFile& outCopy, std::size_t inSize, char inByte, bool& outHoldsByte)
{
    const bool areOpen = IsOpen() && outCopy.IsOpen();
    return areOpen ? fStream->CopyAvailable(outCopy.fStream->GetBytes(), inSize, inByte, outHoldsByte) : 0;
}

std::size_t ACupsFile::Write(std::string_view inData)
{
    return IsOpen() ? fStream->GetBytes().Write(inData) : 0;
}

std::size_t ACupsFile::Writef(const char* inFormat, ...)
{
    std::array<char, 8192> text{};
    va_list arguments;
    va_start(arguments, inFormat);
    const int length = std::vsnprintf(text.data(), text.size(), inFormat, arguments);
    va_end(arguments);
    const bool fits = length >= 0 && static_cast<std::size_t>(length) < text.size();
    return fits ? Write({text.data(), static_cast<std::size_t>(length)}) : 0;
}

bool ACupsFile::Finish()
{
    return !IsOpen() || fStream->GetBytes().Flush();
}

int ACupsFile::GetWriteError() const
{
    return fStream != nullptr ? fStream->GetBytes().GetWriteError() : 0;
}

char ACupsFile::GetLastWritten() const
{
    return IsOpen() ? fStream->GetBytes().GetLastWritten() : '\n';
}

bool ACupsFile::IsEOF() const
{
    return IsOpen() && fStream->GetBytes().IsEOF();
}

int ACupsFile::GetReadError() const
{
    return fStream != nullptr ? fStream->GetBytes().GetReadError() : 0;
}
