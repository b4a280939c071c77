#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "Foundation/LineStream.h"

/// A job file: input, output, temporary file or standard stream, with a remembered name.
///
/// Copies share one stream, its buffers and its position; whichever is closed first closes it for all of them. The
/// destructor of a copy does not close a stream that another copy still holds.
///
/// Errors of writing are sticky (see AFileStream): ask Finish before the file is given up.
class ACupsFile
{
public:
    ACupsFile() = default;

    /// Remembers the name; nothing is opened.
    explicit ACupsFile(std::string inName) : fName(std::move(inName)) {}

    // Each of these closes what was open, logs a failure with the system's error text (level 0), and returns whether a
    // stream is open.
    bool OpenForRead();
    bool OpenForWrite();
    bool OpenForReadAndWrite();

    /// A file without a name (cupsTempFd, mode 0600, unlinked at once): it lives while it is open.
    bool OpenTemporaryFile();

    /// For a file at a place where others may put things: an existing one is overwritten only when it is a regular file
    /// and not the open file inSource (null: none), whatever name led there; a link at its place is not followed.
    /// Failures are not logged.
    bool OpenForDump(const ACupsFile* inSource = nullptr);

    bool OpenStdinFile();
    bool OpenStdoutFile();

    [[nodiscard]] bool IsOpen() const { return fStream != nullptr && fStream->GetBytes().IsOpen(); }
    void Close();

    /// Closes and removes the file when it has a name.
    void RemoveFile();

    void Rewind() { static_cast<void>(SetPosition(0, SEEK_SET)); }

    /// In bytes from the start of the file; -1 when closed.
    [[nodiscard]] std::int64_t GetPosition() const;

    /// As fseek, to the start of a line: 0, or -1 when closed or not positionable.
    int SetPosition(std::int64_t inOffset, int inWhence);

    /// Readies the descriptor for a child that reads the file from its start; see AFileStream::LendFromStart.
    [[nodiscard]] bool LendFromStart() { return IsOpen() && fStream->GetBytes().LendFromStart(); }

    /// -1 when closed.
    [[nodiscard]] int GetFileDescriptor() const;
    [[nodiscard]] const std::string& GetFileName() const { return fName; }

    /// See ALineStream; a closed file has ended.
    [[nodiscard]] AJobLine ReadLine(std::size_t inBufferSize, bool& outIsEOF);
    [[nodiscard]] AJobLine ReadLine(bool& outIsEOF) { return ReadLine(kLineBufferSize, outIsEOF); }
    void UnreadLine();
    [[nodiscard]] AJobLine CopyToLine(const ALineNeedles& inNeedles, ACupsFile* outCopy, bool& outIsEOF);
    std::size_t CopyBlock(ACupsFile& outCopy, std::size_t inSize, char inByte, bool& outHoldsByte);
    std::size_t CopyAvailable(ACupsFile& outCopy, std::size_t inSize, char inByte, bool& outHoldsByte);
    [[nodiscard]] bool HasMore(std::size_t inSize) { return IsOpen() && fStream->HasMore(inSize); }

    /// See ALineStream::IsRestOf.
    [[nodiscard]] bool IsRestOf(std::string_view inBytes) { return IsOpen() && fStream->IsRestOf(inBytes); }

    /// Returns the number of bytes taken: all of them, or 0 when closed, empty, or after an error.
    std::size_t Write(std::string_view inData);

    /// printf into a buffer of 8192 bytes: a text that does not fit is not written at all.
    std::size_t Writef(const char* inFormat, ...) __attribute__((format(printf, 2, 3)));

    /// Hands everything written to the system. False when any byte was lost; the reason is GetWriteError().
    [[nodiscard]] bool Finish();
    [[nodiscard]] int GetWriteError() const;

    /// The last byte that was written; a line feed before the first one.
    [[nodiscard]] char GetLastWritten() const;

    [[nodiscard]] bool IsEOF() const;

    /// The errno of the first read that failed; 0: none did. It outlives Close and a change of position: what was not
    /// read is missing from the job for good.
    [[nodiscard]] int GetReadError() const;
    [[nodiscard]] bool IsError() const { return GetReadError() != 0; }

private:
    bool Open(int inFlags);
    bool Adopt(int inDescriptor, AFileStream::AOwnership inOwnership);
    bool OpenStandardStream(int inDescriptor);

    std::shared_ptr<ALineStream> fStream;
    std::string fName;
};
