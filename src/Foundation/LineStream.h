#pragma once

#include "Foundation/FileStream.h"
#include "Foundation/JobLine.h"
#include "Foundation/LineNeedles.h"

/// Bytes behind which nobody looks for the end of a job: so much may follow its first end-of-job byte.
inline constexpr std::size_t kLongestRest = 4096;

/// The lines of an open file: read one by one, or skipped at memory speed up to the next one that matters.
///
/// The line is the unit of meaning, the span is the unit of copying: CopyToLine hands over exactly the lines, in
/// exactly the pieces, that reading line by line would give, but copies everything between them unread. To that end the
/// stream always stands at the start of a piece: what a span leaves behind is the piece that was not yet complete.
class ALineStream
{
public:
    ALineStream(int inDescriptor, AFileStream::AOwnership inOwnership) : fBytes(inDescriptor, inOwnership) {}

    [[nodiscard]] AFileStream& GetBytes() { return fBytes; }
    [[nodiscard]] const AFileStream& GetBytes() const { return fBytes; }

    /// Reads up to the next line end, or inBufferSize - 1 bytes of a longer line. Sets outIsEOF when the file ended (or
    /// failed) before either. The text is valid until the next call that reads.
    [[nodiscard]] AJobLine ReadLine(std::size_t inBufferSize, bool& outIsEOF);

    /// Puts the line that the last call of ReadLine gave back. Only right after it.
    void UnreadLine();

    /// Writes everything before the next line that holds one of the needles to outCopy (null: drops it), and reads that
    /// line. At the end of the file what is left after the last line end (or after the last whole piece) is read,
    /// whatever it holds, and outIsEOF is set.
    [[nodiscard]] AJobLine CopyToLine(const ALineNeedles& inNeedles, AFileStream* outCopy, bool& outIsEOF);

    /// Copies at most inSize bytes without looking at lines. Returns how many there were; fewer than inSize only at the
    /// end of the file. Sets outHoldsByte when inByte was among them.
    std::size_t CopyBlock(AFileStream& outCopy, std::size_t inSize, char inByte, bool& outHoldsByte);

    /// Copies what is there to read, at most inSize bytes, without waiting for more than the first of it. See
    /// CopyBlock.
    std::size_t CopyAvailable(AFileStream& outCopy, std::size_t inSize, char inByte, bool& outHoldsByte);

    /// True when there is another byte to read; waits for it. At most inSize bytes are read on the way.
    [[nodiscard]] bool HasMore(std::size_t inSize) { return !fBytes.GetBuffered().empty() || fBytes.Fill(inSize); }

    /// True when nothing but these bytes is left to read, and not more than kLongestRest of them.
    [[nodiscard]] bool IsRestOf(std::string_view inBytes);

    /// Positions at the start of a line, in bytes from the start of the file. 0, or -1 when it cannot be done.
    int SetPosition(std::int64_t inOffset, int inWhence);

private:
    [[nodiscard]] bool IsWholePiece(std::size_t inNeedleOffset, std::size_t inLength, std::size_t& outPiece) const;
    void Pass(std::size_t inSize, AFileStream* outCopy);
    void NoteConsumed(std::string_view inText);

    AFileStream fBytes;
    ALineStart fStart = ALineStart::kAtLineStart; ///< of the next piece
    AJobLine fLastLine;
};
