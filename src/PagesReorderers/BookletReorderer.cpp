#include "PagesReorderers/BookletReorderer.h"

#include <utility>

#include "Imaging/Logger.h"
#include "Imaging/NumberText.h"
#include "Imaging/PPDKeywords.h"

namespace
{

/// Lays pages on the halves of sheet sides. Indices count the pages of the list from 0; an index outside it is a blank.
class AImposition
{
public:
    AImposition(const APageOffsets& inPages, const ABookletPlan& inPlan)
        : fPages(inPages), fPlan(inPlan), fLast(static_cast<std::int64_t>(inPages.size()) - 1)
    {
    }

    void WriteSheet(std::int64_t inLeft, std::int64_t inRight)
    {
        if (fPlan.fBackCover && !fPlan.fIsCollated)
        {
            PlaceBackCover(inLeft, inRight);
        }
        if (fPlan.fIsRightToLeft)
        {
            std::swap(inLeft, inRight);
        }
        Append(inLeft);
        Append(inRight);
    }

    void Append(std::int64_t inIndex)
    {
        const bool isPage = inIndex >= 0 && inIndex <= fLast;
        fSides.push_back(isPage ? fPages[static_cast<std::size_t>(inIndex)] : kBlankPage);
    }

    [[nodiscard]] APageOffsets TakeSides() { return std::move(fSides); }

private:
    /// The last page goes on the outside of the first sheet; where it would have stood stays blank.
    void PlaceBackCover(std::int64_t& ioLeft, std::int64_t& ioRight)
    {
        if (ioLeft >= fLast && !std::exchange(fBackCoverIsPlaced, true))
        {
            ioLeft = fLast;
        }
        else if (ioLeft == fLast)
        {
            ioLeft = -1;
        }
        else if (ioRight == fLast)
        {
            ioRight = -1;
        }
        if (ioLeft == 0 && ioRight == 0)
        {
            ioRight = -1;
        }
    }

    const APageOffsets& fPages;
    const ABookletPlan& fPlan;
    std::int64_t fLast;
    bool fBackCoverIsPlaced = false;
    APageOffsets fSides;
};

void ImposeCopies(AImposition& ioSides, std::int64_t inPages, std::int64_t inCopies, std::int64_t inPagesPerCopy)
{
    std::int64_t sheets = inPages / (4 * inCopies);
    sheets += 4 * sheets < inPages / inCopies ? 1 : 0;
    std::int64_t last = -1;
    for (std::int64_t copy = 0; copy < inCopies; ++copy)
    {
        std::int64_t page = copy * inPagesPerCopy;
        last += 4 * sheets;
        for (std::int64_t sheet = 0; sheet < sheets; ++sheet, page += 2)
        {
            ioSides.WriteSheet(last - page % inPagesPerCopy, page);
            ioSides.WriteSheet(page + 1, last - (page + 1) % inPagesPerCopy);
        }
    }
}

} // namespace

APageOffsets ImposeBooklet(const APageOffsets& inPages, const ABookletPlan& inPlan)
{
    AImposition sides(inPages, inPlan);
    if (inPages.size() == 1)
    {
        sides.Append(inPlan.fBackCover ? 0 : -1);
        sides.Append(inPlan.fBackCover ? -1 : 0);
    }
    else if (inPages.size() == 2 && inPlan.fBackCover)
    {
        sides.Append(1);
        sides.Append(0);
    }
    else if (inPlan.fPagesPerCopy != 0)
    {
        ImposeCopies(sides, static_cast<std::int64_t>(inPages.size()), inPlan.fCopies, inPlan.fPagesPerCopy);
    }
    return sides.TakeSides();
}

bool ABookletReorderer::IsWanted()
{
    const AOptionValue filter = GetCUPSOption("VXBookletFilter");
    const AOptionValue numberUp = GetCUPSOption("number-up");
    return GetSettingsStore().IsFeatureSupported(kBookletFeature) && filter && !IsOption(filter, kFalseValue) &&
           !(numberUp && ReadLeadingInteger(*numberUp) > 1);
}

void ABookletReorderer::Initialize()
{
    fIsEnabled = IsWanted();
    if (!fIsEnabled)
    {
        return;
    }
    ASettingsStore& settings = GetSettingsStore();
    const AOptionValue byHand = GetCUPSOption("VXManualDuplexSwitch");
    if (!settings.fIsDuplex && settings.fDuplexSupported && (!byHand || IsOption(byHand, kFalseValue)))
    {
        UseDuplexUnit();
    }
    fIsAsianOrder = IsOption(GetCUPSOption("VXBookletPageOrder"), "Asian");
    settings.fBookletPaperSize = GetCUPSOption("VXBookletPaperSize").value_or("Letter");
    settings.fBooklet = true;
    settings.fBookletBackCover = IsOption(GetCUPSOption("VXBookletBackCover"), kTrueValue);
    settings.fReverseOrderRequested = false;
}

void ABookletReorderer::UseDuplexUnit()
{
    ASettingsStore& settings = GetSettingsStore();
    settings.fIsDuplex = true;
    settings.fManualDuplex = false;
    if (settings.IsFeatureSupported(kStraightPaperPathFeature) &&
        IsOption(GetCUPSOption("VXStraightPaperPath"), kTrueValue))
    {
        settings.fFaceDownOutput = true;
    }
    settings.fDuplexFaceUp = settings.fDuplexFaceUp || !settings.fFaceDownOutput;
}

ABookletPlan ABookletReorderer::MakePlan() const
{
    const ASettingsStore& settings = GetSettingsStore();
    ABookletPlan plan;
    plan.fCopies = GetPages().GetCopiesInDocument(settings.fCollate);
    plan.fPagesPerCopy = GetPages().fPagesPerCopy;
    plan.fBackCover = settings.fBookletBackCover;
    plan.fIsCollated = settings.fCollate;
    plan.fIsRightToLeft = settings.fOrientation == kReverseLandscapeOrientation ||
                          (settings.fOrientation == kPortraitOrientation && fIsAsianOrder != settings.fMirrorPrint);
    return plan;
}

unsigned ABookletReorderer::ReorderPages()
{
    if (!fIsEnabled)
    {
        return GetPages().fFinalNumberOfPages;
    }
    LoggerLogMessage(kLogTrace, "Creating booklet...\n");
    GetPages().fOffsets = ImposeBooklet(GetPages().fOffsets, MakePlan());
    GetSettingsStore().fRedefineShowpage = true;
    GetSettingsStore().fFinishingInOrder = false;
    return CountPages();
}
