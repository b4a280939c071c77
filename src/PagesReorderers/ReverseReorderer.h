#pragma once

#include "PagesReorderers/PagesReorderer.h"

/// Turns the order of the pages round for output that lands face up or is finished in order, and keeps the two sides of
/// a sheet together. The last reorderer to run.
class AReverseReorderer final : public APagesReorderer
{
public:
    using APagesReorderer::APagesReorderer;

    [[nodiscard]] unsigned ReorderPages() override;
};

struct AReversePlan
{
    bool fDuplexFaceUp = false;      ///< sheets land face up: last sheet first, each with its front before its back
    bool fBooklet = false;           ///< sheets have four pages
    bool fPadToSheets = false;       ///< an odd number of pages gets a blank back
    bool fIsReversedAlready = false; ///< the list was collected last page first
};

/// The list in its new order. Duplex face-up, pages 1 to 5: 5 blank 3 4 1 2.
[[nodiscard]] APageOffsets ReversePages(APageOffsets inOffsets, const AReversePlan& inPlan);
