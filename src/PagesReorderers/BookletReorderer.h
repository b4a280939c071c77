#pragma once

#include "PagesReorderers/PagesReorderer.h"

/// How the pages of a booklet are laid out.
struct ABookletPlan
{
    unsigned fCopies = 1; ///< in the document, one behind the other
    unsigned fPagesPerCopy = 1;
    bool fBackCover = false;     ///< the last page goes on the outside
    bool fIsRightToLeft = false; ///< left and right halves change places
    bool fIsCollated = false;    ///< a document of several copies: only one or two pages of it get a back cover
};

/// Pages in saddle-stitched order: for each sheet the left and right half of its front, then of its back. Sheets are
/// filled up with blanks. 8 pages: 8 1 | 2 7 | 6 3 | 4 5.
[[nodiscard]] APageOffsets ImposeBooklet(const APageOffsets& inPages, const ABookletPlan& inPlan);

/// Decides whether the job becomes a booklet, and puts its pages in booklet order. The first reorderer to run.
class ABookletReorderer final : public APagesReorderer
{
public:
    using APagesReorderer::APagesReorderer;

    /// Reads the options. A booklet settles in the settings store that, how and on what paper it is printed.
    void Initialize();

    [[nodiscard]] unsigned ReorderPages() override;

private:
    [[nodiscard]] static bool IsWanted();
    static void UseDuplexUnit();
    [[nodiscard]] ABookletPlan MakePlan() const;

    bool fIsEnabled = false;
    bool fIsAsianOrder = false;
};
