#pragma once

#include "PagesReorderers/PagesReorderer.h"

/// How the sides of a job are split into the two passes of two-sided printing by hand.
struct AManualDuplexPlan
{
    bool fReverse = false;       ///< reverse order was asked for
    bool fBooklet = false;       ///< a side has two pages
    bool fFaceDown = true;       ///< output lands face down
    bool fPrintOnBottom = false; ///< the printer prints on the bottom side of a sheet
    bool fPrintGuide = false;    ///< with guide pages
};

/// The sides of the first pass, then those of the second, with guide entries. The list must be even, with fBooklet a
/// multiple of 4. 6 pages, face down, with guide: guide 6 4 2 1 3 5 guide.
[[nodiscard]] APageOffsets SplitIntoPasses(const APageOffsets& inPages, const AManualDuplexPlan& inPlan);

/// Prepares two-sided printing on a printer without a duplex unit: all sides of one parity first, then, after the stack
/// was turned by hand, the others. The second reorderer to run.
class AManualDuplexReorderer final : public APagesReorderer
{
public:
    using APagesReorderer::APagesReorderer;

    /// Reads the options and settles in the settings store whether manual duplex is on. Runs after the booklet
    /// reorderer's.
    void Initialize();

    [[nodiscard]] unsigned ReorderPages() override;

private:
    [[nodiscard]] static bool IsWanted();
    [[nodiscard]] bool CanGoAhead() const;
    [[nodiscard]] unsigned OutputPages();

    bool fIsEnabled = false;
};
