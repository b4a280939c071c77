#include "PagesReorderers/ReverseReorderer.h"

#include <algorithm>

#include "Imaging/Logger.h"

namespace
{

/// Exchanges the fronts and backs of whole sheets: a group a b c d becomes c d a b.
void ExchangeSheetSides(APageOffsets& ioOffsets)
{
    for (std::size_t i = 0; i + 3 < ioOffsets.size(); i += 4)
    {
        std::swap(ioOffsets[i], ioOffsets[i + 2]);
        std::swap(ioOffsets[i + 1], ioOffsets[i + 3]);
    }
}

void ExchangePairs(APageOffsets& ioOffsets)
{
    for (std::size_t i = 0; i + 1 < ioOffsets.size(); i += 2)
    {
        std::swap(ioOffsets[i], ioOffsets[i + 1]);
    }
}

} // namespace

APageOffsets ReversePages(APageOffsets inOffsets, const AReversePlan& inPlan)
{
    if ((inPlan.fDuplexFaceUp || inPlan.fPadToSheets) && inOffsets.size() % 2 != 0)
    {
        inOffsets.push_back(kBlankPage);
    }
    if (inPlan.fDuplexFaceUp)
    {
        if (inPlan.fBooklet)
        {
            ExchangeSheetSides(inOffsets);
        }
        ExchangePairs(inOffsets);
    }
    if (!inPlan.fIsReversedAlready)
    {
        std::reverse(inOffsets.begin(), inOffsets.end());
    }
    return inOffsets;
}

unsigned AReverseReorderer::ReorderPages()
{
    ASettingsStore& settings = GetSettingsStore();
    if ((!settings.fFinishingInOrder && !settings.fDuplexFaceUp) || CountPages() < 2)
    {
        return GetPages().fFinalNumberOfPages;
    }
    LoggerLogMessage(kLogTrace, "Reversing...\n");
    AReversePlan plan;
    plan.fDuplexFaceUp = settings.fDuplexFaceUp;
    plan.fBooklet = settings.fBooklet;
    plan.fPadToSheets =
        settings.fIsDuplex && settings.fIsNativePostScript && settings.fReverseOrderRequested && !plan.fDuplexFaceUp;
    if (plan.fDuplexFaceUp)
    {
        const std::size_t padded = CountPages() + CountPages() % 2;
        LogUnless(!plan.fBooklet || padded % 4 == 0, "0 == GetPageOffsets().size() % 4");
        // The exchanged pairs give face-up order already, also where the list was collected last page first.
        settings.fShouldReversePages = settings.fShouldReversePages && settings.fReverseOrderRequested;
    }
    plan.fIsReversedAlready = settings.fShouldReversePages;
    GetPages().fOffsets = ReversePages(std::move(GetPages().fOffsets), plan);
    return CountPages();
}
