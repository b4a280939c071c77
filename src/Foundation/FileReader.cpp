#include "Foundation/FileReader.h"

#include "Foundation/SettingsStore.h"
#include "Imaging/PostScriptText.h"

AJobLine AFileReader::ReadLine(bool& outIsEOF)
{
    return Note(fFile.ReadLine(outIsEOF));
}

AJobLine AFileReader::CopyToLine(const ALineNeedles& inNeedles, ACupsFile& outCopy, bool& outIsEOF)
{
    return Note(fFile.CopyToLine(inNeedles, &outCopy, outIsEOF));
}

std::vector<std::string> AFileReader::GetOwnNeedles() const
{
    return {"%%Page:"};
}

AJobLine AFileReader::Note(AJobLine inLine)
{
    if (inLine.Holds("%%Page:"))
    {
        CheckPageNumber(inLine);
    }
    return inLine;
}

void AFileReader::CheckPageNumber(const AJobLine& inLine)
{
    const auto info = PSF::GetPageInfoFromPSPageInvocation(inLine.GetVisibleText());
    const unsigned pagesPerCopy = fPagesManager.GetOriginalNumberOfPages() / fPagesManager.GetCopiesInDocument();
    if (info && pagesPerCopy != 0)
    {
        const auto ordinal = static_cast<unsigned>(info->fOrdinal);
        const bool isReversed = ASettingsStore::GetInstance().fShouldReversePages;
        SetCurrentPageNumber(GetLogicalPageNumber(ordinal, pagesPerCopy, isReversed));
    }
}

unsigned GetLogicalPageNumber(unsigned inOrdinal, unsigned inPagesPerCopy, bool inIsReversed)
{
    const unsigned inCopy = inOrdinal % inPagesPerCopy;
    const unsigned number = inIsReversed ? (inPagesPerCopy - inCopy + 1) % inPagesPerCopy : inCopy;
    return number == 0 ? inPagesPerCopy : number;
}
