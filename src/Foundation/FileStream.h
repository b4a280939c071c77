#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

/// An open file descriptor with one buffer for reading and one for writing.
///
/// Whoever holds the stream reads on where the last reader stopped. A stream is either being read or being written; a
/// change of position (SetPosition) is what turns it from one to the other.
///
/// Errors are sticky: after the first failed read or write every later one fails too, and the first errno is kept;
/// Flush tells whether bytes were lost. The destructor closes the descriptor but cannot report: call Flush before to
/// avoid loss of data.
class AFileStream
{
public:
    enum class AOwnership
    {
        kOwned,    ///< the stream closes the descriptor
        kBorrowed, ///< a standard stream of the process: stays open
    };

    AFileStream(int inDescriptor, AOwnership inOwnership);
    ~AFileStream();
    AFileStream(const AFileStream&) = delete;
    AFileStream& operator=(const AFileStream&) = delete;

    [[nodiscard]] bool IsOpen() const { return fDescriptor >= 0; }
    [[nodiscard]] int GetDescriptor() const { return fDescriptor; }

    /// Writes what is buffered and closes the descriptor unless it is borrowed. False when bytes were lost.
    bool Close();

    /// The bytes that were read and not yet consumed. Valid until the next call of Fill, SetPosition or Close.
    [[nodiscard]] std::string_view GetBuffered() const;

    /// Reads on behind the buffered bytes, at most inLimit bytes. False at the end of the file or on a read error
    /// (logged), or when the buffer is full.
    bool Fill(std::size_t inLimit = SIZE_MAX);

    /// Takes bytes off the front of the buffered ones; at most as many as there are.
    void Consume(std::size_t inSize);

    /// Takes the last consumed bytes back. Only right after they were consumed.
    void Unconsume(std::size_t inSize);

    [[nodiscard]] bool IsEOF() const { return fIsEOF; }

    /// The errno of the first read that failed, after which nothing more is read; 0: none did.
    [[nodiscard]] int GetReadError() const { return fReadError; }

    /// Returns the number of bytes taken: all of them, or 0 after an error.
    std::size_t Write(std::string_view inData);

    /// Hands what is buffered to the system. False when any byte written to this stream was lost.
    [[nodiscard]] bool Flush();

    /// The errno of the first write that failed; 0: none did.
    [[nodiscard]] int GetWriteError() const { return fWriteError; }

    /// The last byte that was written; a line feed before the first one.
    [[nodiscard]] char GetLastWritten() const { return fLastWritten; }

    /// Where the next byte is read or written, in bytes from the start of the file.
    [[nodiscard]] std::int64_t GetPosition() const;

    /// As fseek: 0, or -1 when the file cannot be positioned. Where that is no pipe, it counts as a read that failed.
    int SetPosition(std::int64_t inOffset, int inWhence);

    /// Positions the descriptor itself at its start, for another process that shares it. What that process leaves of
    /// its position does not matter: call SetPosition before the stream is used again. False when it cannot be done.
    [[nodiscard]] bool LendFromStart();

private:
    [[nodiscard]] std::size_t GetNextReadSize(std::size_t inLimit) const;
    void MoveBufferedToFront();
    bool ReadMore(std::size_t inSize);
    [[nodiscard]] std::size_t GetRoom() const;
    void Buffer(std::string_view inData);
    bool WriteOut(std::string_view inData);
    void NoteReadError(int inError);
    void NoteFailedSeek(int inError);
    bool WaitUntilReady(short inEvents) const;

    int fDescriptor;
    AOwnership fOwnership;

    std::unique_ptr<char[]> fReadBuffer; ///< not cleared first: a short job touches little of it
    std::size_t fBegin = 0;              ///< of the unconsumed bytes in the read buffer
    std::size_t fEnd = 0;
    bool fIsEOF = false;
    int fReadError = 0;

    std::vector<char> fWriteBuffer;
    int fWriteError = 0;
    char fLastWritten = '\n';

    std::int64_t fFilePosition; ///< of the descriptor; 0 at first where it has none (a pipe)
    std::int64_t fRunStart = 0; ///< from where on the file was read or written without a jump
    bool fHasPosition;          ///< false for a pipe
};
