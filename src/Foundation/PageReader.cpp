#include "Foundation/PageReader.h"

namespace
{

constexpr std::string_view kEndMarks = "\x04\r\n";

/// True for the comment of a page, unless the page repeats the one before it, and for that of the trailer.
bool IsSectionComment(const AJobLine& inLine)
{
    const bool isMarked = ASettingsStore::GetInstance().fIsNativePostScript &&
                          inLine.GetVisibleText().find(kRepeatedPageMark) != std::string_view::npos;
    return (inLine.OpensWith("%%Page:") && !isMarked) || inLine.OpensWith("%%Trailer");
}

} // namespace

std::vector<std::string> APageReader::GetOwnNeedles() const
{
    return {"%%Page:", "%%Trailer"};
}

AJobLine APageReader::ReadLine(bool& outIsEOF)
{
    return Follow(GetFile().ReadLine(outIsEOF), outIsEOF);
}

AJobLine APageReader::CopyToLine(const ALineNeedles& inNeedles, ACupsFile& outCopy, bool& outIsEOF)
{
    return Follow(GetFile().CopyToLine(inNeedles, &outCopy, outIsEOF), outIsEOF);
}

/// False when only what stands behind the page that is being read is left of the file.
bool APageReader::IsAnythingDue() const
{
    const APageList& pages = GetPagesManager().GetPages();
    return fEmittedPages < pages.fOffsets.size() || pages.fTrailerOffset != 0;
}

AJobLine APageReader::Follow(AJobLine inLine, bool& ioIsEOF)
{
    if (fIsBehindPages)
    {
        return inLine;
    }
    if (ioIsEOF && !inLine.fText.empty())
    {
        return FollowLastLine(inLine, ioIsEOF);
    }
    if (!ioIsEOF)
    {
        const bool endsFile = IsAnythingDue() && EndsFile(inLine);
        const bool isBoundary = IsSectionComment(inLine) ||
                                (endsFile && inLine.fText.find_first_not_of(kEndMarks) == std::string_view::npos);
        if (!isBoundary)
        {
            return endsFile ? CloseLine(inLine) : inLine;
        }
        GetFile().UnreadLine();
    }
    return DeliverNext(ioIsEOF);
}

/// When more follows what ended the file, that gets a line of its own, and no end-of-job byte may stand in front of it.
AJobLine APageReader::FollowLastLine(AJobLine inLine, bool& ioIsEOF)
{
    const bool holdsText = inLine.fText.find_first_not_of(kEndMarks) != std::string_view::npos;
    if (!holdsText || IsSectionComment(inLine))
    {
        return IsAnythingDue() || holdsText ? DeliverNext(ioIsEOF) : inLine;
    }
    if (!IsAnythingDue())
    {
        return inLine;
    }
    ioIsEOF = false;
    return CloseLine(inLine);
}

/// The line with a line end in the place of its end marks.
AJobLine APageReader::CloseLine(AJobLine inLine)
{
    fText = std::string(inLine.fText.substr(0, inLine.fText.find_last_not_of(kEndMarks) + 1)) + "\n";
    inLine.fText = fText;
    return inLine;
}

/// True when the line ends with an end-of-job byte, and nothing but such bytes and line ends follows it in the file. To
/// know that, the file is read on: such a line moves out of the file's buffer.
bool APageReader::EndsFile(AJobLine& ioLine)
{
    const std::size_t size = ioLine.fText.find_last_not_of(kEndMarks) + 1;
    if (ioLine.fText.find('\x04', size) == std::string_view::npos)
    {
        return false;
    }
    fText = ioLine.fText;
    ioLine.fText = fText;
    return GetFile().IsRestOf(kEndMarks);
}

AJobLine APageReader::DeliverNext(bool& outIsEOF)
{
    SetCurrentPageNumber(0);
    const APageOffsets& offsets = GetPagesManager().GetPages().fOffsets;
    if (fEmittedPages >= offsets.size())
    {
        fIsBehindPages = true;
        return DeliverTrailer(outIsEOF);
    }
    outIsEOF = false;
    return DeliverPage(offsets[fEmittedPages++]);
}

/// The comment of a page that stands in the file is read and renumbered; for any other the file stays where it is.
AJobLine APageReader::DeliverPage(std::int64_t inOffset)
{
    const std::string number = std::to_string(fEmittedPages);
    fText = "%%Page: " + (inOffset == kGuidePage ? "(reinsertion)" : number) + " " + number + "\n";
    if (inOffset >= 0)
    {
        GetFile().SetPosition(inOffset, SEEK_SET);
        SkipPageComment();
    }
    return {fText, ALineStart::kAtLineStart};
}

/// Whole, even when it comes in pieces: without its start the rest of it would be code.
void APageReader::SkipPageComment()
{
    bool isEOF = false;
    AJobLine line = GetFile().ReadLine(isEOF);
    CheckPageNumber(line);
    while (!isEOF && !line.fText.empty() && !IsLineEnd(line.fText.back()))
    {
        line = GetFile().ReadLine(isEOF);
    }
}

AJobLine APageReader::DeliverTrailer(bool& outIsEOF)
{
    const std::int64_t offset = GetPagesManager().GetPages().fTrailerOffset;
    if (offset == 0)
    {
        GetFile().SetPosition(0, SEEK_END);
        outIsEOF = true;
        return {};
    }
    GetFile().SetPosition(offset, SEEK_SET);
    return GetFile().ReadLine(outIsEOF);
}
