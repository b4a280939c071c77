#include "Foundation/LineStream.h"

#include <algorithm>
#include <cstring>

namespace
{

constexpr std::size_t kPieceSize = kLineBufferSize - 1;

/// Offset just behind the last byte of that value, 0 when the text has none. (std::string_view::rfind goes byte by
/// byte.)
std::size_t AfterLast(std::string_view inText, char inByte)
{
    const void* last = inText.empty() ? nullptr : memrchr(inText.data(), inByte, inText.size());
    return last == nullptr ? 0 : static_cast<std::size_t>(static_cast<const char*>(last) - inText.data()) + 1;
}

/// Offset just behind the last line end of the text, 0 when it has none.
std::size_t AfterLastLineEnd(std::string_view inText)
{
    const std::size_t afterFeed = AfterLast(inText, '\n');
    return afterFeed + AfterLast(inText.substr(afterFeed), '\r');
}

/// Offset of the start of the piece that the place lies in, given the start of its line.
std::size_t GetPieceStart(std::size_t inLineStart, std::size_t inPlace)
{
    return inPlace - (inPlace - inLineStart) % kPieceSize;
}

/// Offset of what a span must leave behind: the piece that is not yet complete, and before it lines that hold nothing
/// but end-of-job bytes. Nobody can know whether they end the job before the file ends, and what is missing from a job
/// goes in front of them. Of more than the longest rest only the last lines can end it.
std::size_t GetSpanEnd(std::string_view inText)
{
    const std::size_t piece = GetPieceStart(AfterLastLineEnd(inText), inText.size());
    const std::size_t marks = inText.find_last_not_of("\x04\r\n") + 1;
    const bool areLines = marks < inText.size() && inText[marks] != '\x04';
    const std::size_t lineStart = AfterLastLineEnd(inText.substr(0, marks));
    const std::size_t firstMark = areLines ? inText.find('\x04', marks) : GetPieceStart(lineStart, marks);
    const std::size_t tooEarly = inText.size() - std::min(inText.size(), kLongestRest);
    return std::min(piece, std::max(firstMark, AfterLastLineEnd(inText.substr(0, tooEarly))));
}

/// Bytes of the line that opens the text, its line end included; npos when the text holds no line end.
std::size_t GetLineLength(std::string_view inText)
{
    const std::size_t feed = inText.find('\n');
    const std::size_t carriageReturn = inText.substr(0, feed).find('\r');
    const std::size_t end = std::min(feed, carriageReturn);
    return end == std::string_view::npos ? end : end + 1;
}

} // namespace

AJobLine ALineStream::ReadLine(std::size_t inBufferSize, bool& outIsEOF)
{
    outIsEOF = false;
    const std::size_t limit = inBufferSize == 0 ? 0 : inBufferSize - 1;
    std::size_t length = 0;
    while (length < limit)
    {
        const std::string_view data = fBytes.GetBuffered();
        const std::size_t end = GetLineLength(data.substr(0, limit));
        length = std::min({end, limit, data.size()});
        if (length == end || length == limit)
        {
            break;
        }
        if (!fBytes.Fill())
        {
            outIsEOF = true;
            break;
        }
    }
    fLastLine = {fBytes.GetBuffered().substr(0, length), fStart};
    fBytes.Consume(length);
    NoteConsumed(fLastLine.fText);
    return fLastLine;
}

void ALineStream::UnreadLine()
{
    fBytes.Unconsume(fLastLine.fText.size());
    fStart = fLastLine.fStart;
    fLastLine = {};
}

AJobLine ALineStream::CopyToLine(const ALineNeedles& inNeedles, AFileStream* outCopy, bool& outIsEOF)
{
    std::size_t searched = 0;
    while (!inNeedles.MatchEveryLine())
    {
        const std::string_view data = fBytes.GetBuffered();
        const auto [offset, length] = inNeedles.Find(data, searched, fStart);
        if (offset != std::string_view::npos)
        {
            std::size_t piece = 0;
            if (IsWholePiece(offset, length, piece))
            {
                Pass(piece, outCopy);
                break;
            }
            searched = offset + 1;
            continue;
        }
        const std::size_t end = GetSpanEnd(data);
        const std::size_t kept = data.size() - end;
        Pass(end, outCopy);
        searched = kept - std::min(kept, inNeedles.GetLongest());
        if (!fBytes.Fill())
        {
            break;
        }
    }
    return ReadLine(kLineBufferSize, outIsEOF);
}

/// A needle that lies across two pieces is held by neither.
bool ALineStream::IsWholePiece(std::size_t inNeedleOffset, std::size_t inLength, std::size_t& outPiece) const
{
    const std::size_t lineStart = AfterLastLineEnd(fBytes.GetBuffered().substr(0, inNeedleOffset));
    outPiece = GetPieceStart(lineStart, inNeedleOffset);
    return inNeedleOffset + inLength <= outPiece + kPieceSize;
}

void ALineStream::Pass(std::size_t inSize, AFileStream* outCopy)
{
    const std::string_view span = fBytes.GetBuffered().substr(0, inSize);
    if (outCopy != nullptr)
    {
        outCopy->Write(span);
    }
    fBytes.Consume(span.size());
    NoteConsumed(span);
}

void ALineStream::NoteConsumed(std::string_view inText)
{
    const std::size_t lineStart = AfterLastLineEnd(inText);
    if (lineStart != 0)
    {
        fStart = ALineStart::kAtLineStart;
    }
    const std::string_view onLine = inText.substr(lineStart);
    if (!onLine.empty() && fStart != ALineStart::kInsideLine)
    {
        fStart = IsBlank(onLine) ? ALineStart::kAfterBlanks : ALineStart::kInsideLine;
    }
}

std::size_t ALineStream::CopyAvailable(AFileStream& outCopy, std::size_t inSize, char inByte, bool& outHoldsByte)
{
    if (!HasMore(inSize))
    {
        return 0;
    }
    const std::string_view data = fBytes.GetBuffered().substr(0, inSize);
    outHoldsByte = outHoldsByte || data.find(inByte) != std::string_view::npos;
    outCopy.Write(data);
    fStart = IsLineEnd(data.back()) ? ALineStart::kAtLineStart : ALineStart::kInsideLine;
    fBytes.Consume(data.size());
    return data.size();
}

std::size_t ALineStream::CopyBlock(AFileStream& outCopy, std::size_t inSize, char inByte, bool& outHoldsByte)
{
    std::size_t done = 0;
    for (std::size_t size = 1; size != 0 && done != inSize; done += size)
    {
        size = CopyAvailable(outCopy, inSize - done, inByte, outHoldsByte);
    }
    return done;
}

bool ALineStream::IsRestOf(std::string_view inBytes)
{
    while (fBytes.GetBuffered().find_first_not_of(inBytes) == std::string_view::npos)
    {
        if (fBytes.GetBuffered().size() > kLongestRest)
        {
            return false;
        }
        if (!fBytes.Fill())
        {
            return fBytes.IsEOF();
        }
    }
    return false;
}

int ALineStream::SetPosition(std::int64_t inOffset, int inWhence)
{
    fStart = ALineStart::kAtLineStart;
    fLastLine = {};
    return fBytes.SetPosition(inOffset, inWhence);
}
