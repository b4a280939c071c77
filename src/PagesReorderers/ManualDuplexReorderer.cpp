#include "PagesReorderers/ManualDuplexReorderer.h"

#include "Imaging/Logger.h"
#include "Imaging/PPDKeywords.h"

namespace
{

/// One pass over the sheets of a list: a sheet has two entries, in a booklet four, the front ones first.
struct APass
{
    bool fIsBackward;
    bool fIsSecondHalf; ///< of each sheet's entries
};

void AppendPass(APageOffsets& ioResult, const APageOffsets& inPages, std::size_t inSheetSize, APass inPass)
{
    const std::size_t sheets = inPages.size() / inSheetSize;
    const std::size_t sideSize = inSheetSize / 2;
    for (std::size_t i = 0; i < sheets; ++i)
    {
        const std::size_t sheet = inPass.fIsBackward ? sheets - 1 - i : i;
        const std::size_t first = sheet * inSheetSize + (inPass.fIsSecondHalf ? sideSize : 0);
        for (std::size_t j = 0; j < sideSize; ++j)
        {
            ioResult.push_back(inPages[first + j]);
        }
    }
}

} // namespace

APageOffsets SplitIntoPasses(const APageOffsets& inPages, const AManualDuplexPlan& inPlan)
{
    const std::size_t sheetSize = inPlan.fBooklet ? 4 : 2;
    APageOffsets result;
    const auto addGuideIf = [&](bool inCondition)
    {
        if (inPlan.fPrintGuide && inCondition)
        {
            result.push_back(kGuidePage);
        }
    };
    addGuideIf(inPlan.fFaceDown);
    AppendPass(result, inPages, sheetSize, {inPlan.fReverse == inPlan.fPrintOnBottom, !inPlan.fReverse});
    addGuideIf(!inPlan.fFaceDown);
    addGuideIf(inPlan.fPrintOnBottom);
    AppendPass(result, inPages, sheetSize, {inPlan.fFaceDown == inPlan.fReverse, inPlan.fReverse});
    addGuideIf(!inPlan.fPrintOnBottom);
    return result;
}

bool AManualDuplexReorderer::IsWanted()
{
    const ASettingsStore& settings = GetSettingsStore();
    const AOptionValue support = GetCUPSOption("VXManualDuplexSupport");
    const bool canBeDone = !settings.fIsDuplex && support && !IsOption(support, kFalseValue);
    return canBeDone && (IsOption(GetCUPSOption("VXManualDuplexSwitch"), kTrueValue) || settings.fBooklet);
}

void AManualDuplexReorderer::Initialize()
{
    ASettingsStore& settings = GetSettingsStore();
    fIsEnabled = IsWanted();
    settings.fManualDuplex = fIsEnabled;
    settings.fManualDuplexPrintGuide = fIsEnabled && IsOption(GetCUPSOption("VXManualDuplexPrintGuide"), kTrueValue);
}

bool AManualDuplexReorderer::CanGoAhead() const
{
    const ASettingsStore& settings = GetSettingsStore();
    const unsigned pages = CountPages();
    const unsigned copies = GetPages().GetCopiesInDocument(settings.fCollate);
    // A copy of one page has no back.
    const bool hasBacks = !(settings.fCollate && GetPages().fOriginalNumberOfPages / copies == 1);
    return pages > 1 && pages % (settings.fBooklet ? 4 : 2) == 0 && hasBacks;
}

unsigned AManualDuplexReorderer::ReorderPages()
{
    ASettingsStore& settings = GetSettingsStore();
    if (!fIsEnabled)
    {
        return GetPages().fFinalNumberOfPages;
    }
    if (!CanGoAhead())
    {
        fIsEnabled = false;
        settings.fManualDuplex = false;
        settings.fManualDuplexPrintGuide = false;
        return GetPages().fFinalNumberOfPages;
    }
    LoggerLogMessage(kLogTrace, "Creating manual duplex...\n");
    settings.fRedefineShowpage = true;
    const unsigned count = OutputPages();
    settings.fFinishingInOrder = false;
    return count;
}

/// Guide entries are not counted as pages.
unsigned AManualDuplexReorderer::OutputPages()
{
    const ASettingsStore& settings = GetSettingsStore();
    AManualDuplexPlan plan;
    plan.fReverse = settings.fReverseOrderRequested;
    plan.fBooklet = settings.fBooklet;
    plan.fFaceDown = settings.fFaceDownOutput;
    plan.fPrintOnBottom = settings.fPrintOnBottom;
    plan.fPrintGuide = settings.fManualDuplexPrintGuide;
    GetPages().fOffsets = SplitIntoPasses(GetPages().fOffsets, plan);
    return GetPages().fFinalNumberOfPages;
}
