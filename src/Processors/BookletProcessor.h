#pragma once

#include <optional>
#include <string>

#include "Imaging/PPDFile.h"
#include "Processors/PostScriptProcessor.h"

/// Where the two pages of a sheet side stand, in points. The sheet is fed upright and its pages lie across it.
struct ABookletLayout
{
    float fOriginX = 0; ///< of the turned pages on the sheet: its imageable right edge ...
    float fOriginY = 0; ///< ... and its imageable left margin
    float fScaleX = 1;
    float fScaleY = 1;
    float fSecondHalfX = 0; ///< of the second page, in turned coordinates; the first stands at 0
    float fHalfY = 0;       ///< of both pages
};

/// With inFitPage each axis is scaled by itself, otherwise a page keeps its proportions and is centred. Single
/// precision step by step. Page and sheet have an extent.
[[nodiscard]] ABookletLayout LayOutBooklet(const APageSizeRecord& inSheet, const APageSizeRecord& inPage,
                                           bool inFitPage);

/// Prints the pages of a booklet, which arrive in booklet order, two to a side of a sheet: sets the size of the sheet
/// and short-edge duplex, and wraps each pair of pages as two sub-pages of one page.
class ABookletProcessor final : public APostScriptProcessor
{
public:
    explicit ABookletProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "Booklet"; }
    [[nodiscard]] bool IsApplicable() const override { return GetSettingsStore().fBooklet; }
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    void Initialize();

    LineProcessStatus StateNumberOfPagesAtEnd();
    LineProcessStatus StatePageOrder();
    void DefineScaling();
    void RequestTumble();
    LineProcessStatus ReplaceFeature(const APostScriptLineInfo& inLine);
    LineProcessStatus ReplacePageSize();
    LineProcessStatus ReplaceDuplex(const APostScriptLineInfo& inLine);

    LineProcessStatus ProcessPage(APostScriptLineInfo& ioLine);
    void EnterPage();
    void FollowPageComment();
    void BeginPage();
    void EndPage();
    void CorrectPSPageInvocation(APostScriptLineInfo& ioLine) const;

    ABookletLayout fLayout;
    std::optional<std::string> fPageSizeCode; ///< of the sheet; none when the printer states none
    bool fDuplexSeen = false;                 ///< a duplex feature was met or written
    bool fPagesHaveBegun = false;
    bool fFirstHalf = false;  ///< the current page is the first of its pair
    int fSheetSideNumber = 0; ///< sides so far, guide pages of manual duplex included
};
