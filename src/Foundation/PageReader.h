#pragma once

#include "Foundation/FileReader.h"

/// Reads a stored job page by page along the list of the pages manager, so that the iterator sees the pages in their
/// new order, numbered from 1: first what stands before the first page, then the listed pages, then the trailer and
/// what follows it. A blank page is its page comment alone; the code that the page hook writes before the next page
/// ejects it.
class APageReader final : public AFileReader
{
public:
    using AFileReader::AFileReader;

    [[nodiscard]] AJobLine ReadLine(bool& outIsEOF) override;
    [[nodiscard]] AJobLine CopyToLine(const ALineNeedles& inNeedles, ACupsFile& outCopy, bool& outIsEOF) override;
    [[nodiscard]] std::vector<std::string> GetOwnNeedles() const override;

private:
    [[nodiscard]] AJobLine Follow(AJobLine inLine, bool& ioIsEOF);
    [[nodiscard]] AJobLine FollowLastLine(AJobLine inLine, bool& ioIsEOF);
    [[nodiscard]] AJobLine CloseLine(AJobLine inLine);
    [[nodiscard]] bool IsAnythingDue() const;
    [[nodiscard]] bool EndsFile(AJobLine& ioLine);
    [[nodiscard]] AJobLine DeliverNext(bool& outIsEOF);
    [[nodiscard]] AJobLine DeliverPage(std::int64_t inOffset);
    void SkipPageComment();
    [[nodiscard]] AJobLine DeliverTrailer(bool& outIsEOF);

    std::size_t fEmittedPages = 0;
    bool fIsBehindPages = false;
    std::string fText; ///< of the line that was delivered last, where it stands in no file
};
