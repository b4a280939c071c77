#include "Foundation/PageScanner.h"

#include <algorithm>
#include <utility>

#include "Imaging/Logger.h"
#include "Imaging/PostScriptText.h"

namespace
{

ALineNeedles MakeNeedles()
{
    std::vector<std::string> texts = AEmbeddedDocumentTracker::GetNeedles();
    for (const char* text : {"%%EndSetup", "%%Page:", "%%Trailer"})
    {
        texts.emplace_back(text);
    }
    return ALineNeedles(texts);
}

bool TakesFeatures(const AJobLine& inLine)
{
    return inLine.Holds("%%EndSetup") || inLine.OpensWith("%%Page:");
}

void WriteFeatures(ACupsFile& outFile, std::string_view inFeaturesText)
{
    LoggerLogMessage(kLogTrace, "Restoring PostScript resources...");
    outFile.Write(inFeaturesText);
}

} // namespace

void APageScanner::Scan(std::string inFeaturesText)
{
    fFeaturesText = std::move(inFeaturesText);
    const ALineNeedles needles = MakeNeedles();
    bool isEOF = false;
    while (!isEOF && (fRewritten == nullptr || fRewritten->GetWriteError() == 0))
    {
        const AJobLine line = fStore.CopyToLine(needles, fRewritten, isEOF);
        if (!line.fText.empty())
        {
            ScanLine(line);
        }
    }
    Arrange();
}

void APageScanner::Take(APageLocations inLocations)
{
    // One list shrinks while the other grows: both together take a page's 8 bytes once.
    for (APageOffsets& pages = inLocations.fPages; !pages.empty(); pages.pop_front())
    {
        AddPage(pages.front());
    }
    fPages.fTrailerOffset = inLocations.fTrailer;
    Arrange();
}

void APageScanner::Arrange()
{
    if (GetSettingsStore().fShouldReversePages)
    {
        std::reverse(fPages.fOffsets.begin(), fPages.fOffsets.end());
    }
    CompleteLastSheet();
}

void APageScanner::ScanLine(const AJobLine& inLine)
{
    fEmbedded.AnalyzePostScriptLine(inLine);
    if (!fEmbedded.IsInsideEmbeddedDocument())
    {
        if (fRewritten != nullptr && (inLine.Holds("%%EndSetup") || (TakesFeatures(inLine) && !fFeaturesText.empty())))
        {
            WriteFeatures(*fRewritten, std::exchange(fFeaturesText, {}));
        }
        const std::int64_t offset = GetOffsetOf(inLine);
        if (inLine.OpensWith("%%Page:"))
        {
            ScanPage(inLine, offset);
        }
        else if (inLine.OpensWith("%%Trailer"))
        {
            fPages.fTrailerOffset = offset;
        }
    }
    if (fRewritten != nullptr)
    {
        fRewritten->Write(inLine.fText);
    }
}

/// Of the line that was just read and not yet written.
std::int64_t APageScanner::GetOffsetOf(const AJobLine& inLine) const
{
    return fRewritten != nullptr ? fRewritten->GetPosition()
                                 : fStore.GetPosition() - static_cast<std::int64_t>(inLine.fText.size());
}

void APageScanner::ScanPage(const AJobLine& inLine, std::int64_t inOffset)
{
    if (!IsRepeatedPage(inLine))
    {
        AddPage(inOffset);
    }
}

/// A list that is wanted in reverse is collected in order and turned round at the end: what would have gone to its
/// front goes to its back.
void APageScanner::AddPage(std::int64_t inOffset)
{
    const ASettingsStore& settings = GetSettingsStore();
    const bool closesFirst = settings.fBookletBackCover != settings.fShouldReversePages;
    if (closesFirst)
    {
        CloseCopy();
    }
    fPages.fOffsets.push_back(inOffset);
    if (!closesFirst)
    {
        CloseCopy();
    }
}

/// Notes the ordinal. Only applications' own jobs repeat pages.
bool APageScanner::IsRepeatedPage(const AJobLine& inLine)
{
    if (!GetSettingsStore().fIsNativePostScript)
    {
        return false;
    }
    const std::string_view text = inLine.GetVisibleText();
    // It does not end the page before it for the page reader, so at a place of its own it would come out twice.
    if (text.find(kRepeatedPageMark) != std::string_view::npos)
    {
        return true;
    }
    const auto page = PSF::GetPageInfoFromPSPageInvocation(text);
    if (!page)
    {
        return false;
    }
    if (fPages.fPagesPerCopy != 0 && fPageIndex % fPages.fPagesPerCopy == 0)
    {
        fLastOrdinal.reset();
    }
    return std::exchange(fLastOrdinal, page->fOrdinal) == page->fOrdinal;
}

void APageScanner::CloseCopy()
{
    ++fPageIndex;
    if (IsCopyBoundary())
    {
        AddBlankPages();
    }
}

/// As seen in scan order, in a document that carries more than one copy.
bool APageScanner::IsCopyBoundary() const
{
    const unsigned pagesPerCopy = fPages.fPagesPerCopy;
    if (pagesPerCopy == 0 || pagesPerCopy == fPages.fOriginalNumberOfPages)
    {
        return false;
    }
    const unsigned boundary = GetSettingsStore().fShouldReversePages ? 1 : 0;
    return pagesPerCopy == 1 || fPageIndex % pagesPerCopy == boundary;
}

void APageScanner::AddBlankPages()
{
    const ASettingsStore& settings = GetSettingsStore();
    const unsigned toSheets = (4 - fPages.fPagesPerCopy % 4) % 4;
    const unsigned toBacks = settings.fManualDuplex ? fPages.fPagesPerCopy % 2 : 0;
    const unsigned count = settings.fBooklet ? toSheets : toBacks;
    LoggerLogMessage(kLogTrace, "Adding %d blank pages after page %d...\n", static_cast<int>(count),
                     static_cast<int>(fPageIndex));
    fPages.fOffsets.insert(fPages.fOffsets.end(), count, kBlankPage);
}

void APageScanner::CompleteLastSheet()
{
    ASettingsStore& settings = GetSettingsStore();
    const std::size_t count = fPages.fOffsets.size();
    const bool isByHand = settings.fManualDuplex && count >= 2 && !settings.fBookletBackCover;
    const bool isReversedDuplex = settings.fIsDuplex && settings.fIsNativePostScript && settings.fReverseOrderRequested;
    if (count % 2 != 0 && (isByHand || settings.fDuplexFaceUp || isReversedDuplex))
    {
        LoggerLogMessage(kLogTrace, "Adding 1 blank page...\n");
        fPages.fOffsets.push_back(kBlankPage);
        settings.fRedefineShowpage = true;
    }
}

void CopyWithFeatures(ACupsFile& ioStore, ACupsFile& outCopy, std::string_view inFeaturesText)
{
    const ALineNeedles needles = MakeNeedles();
    AEmbeddedDocumentTracker embedded;
    bool isEOF = false;
    bool isRestored = false;
    while (!isEOF && !isRestored)
    {
        const AJobLine line = ioStore.CopyToLine(needles, &outCopy, isEOF);
        embedded.AnalyzePostScriptLine(line);
        if (!embedded.IsInsideEmbeddedDocument() && TakesFeatures(line))
        {
            WriteFeatures(outCopy, inFeaturesText);
            isRestored = true;
        }
        outCopy.Write(line.fText);
    }
    bool isIgnored = false;
    ioStore.CopyBlock(outCopy, SIZE_MAX, '\x04', isIgnored);
}
