#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Imaging/PPDFile.h"
#include "Processors/PostScriptProcessor.h"

/// The edge of the paper that is fed first, and for "either" which edge of the stack shows where. The numbers are those
/// that the print dialog knows.
enum class AFeedEdge
{
    kUnset = 0,
    kShort = 1,
    kLong = 2,
    kPreferLong = 3, ///< long, when the paper is short enough for that
    kForced = 4,
    kEitherRightDown = 5,
    kEitherLeftUp = 6,
    kEitherRightUp = 7,
    kEitherLeftDown = 8,
};

/// The edge that this paper is fed by, never an unset, preferred or forced one. inMaxWidth is the width of the paper
/// path in points.
[[nodiscard]] AFeedEdge ResolveFeedEdge(AFeedEdge inEdge, const APageSizeRecord& inPaper, double inMaxWidth);

/// Prints on both sides of the paper with the user's help: drops the job's own duplex features, switches to manual feed
/// where the second pass begins, turns the pages of the first pass when the paper path asks for it, and inserts the
/// guide pages that tell how to put the stack back. The pages arrive in the order of the two passes.
class AManualDuplexProcessor final : public APostScriptProcessor
{
public:
    explicit AManualDuplexProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "Manual Duplex"; }
    [[nodiscard]] bool IsApplicable() const override { return GetSettingsStore().fManualDuplex; }
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    void Initialize();
    void CheckPageSize();
    void CheckTurning();
    void FormGuidePageName();
    [[nodiscard]] AFeedEdge GetPaperFeed() const;
    [[nodiscard]] double GetMaxMediaWidth() const;

    LineProcessStatus DropDuplexFeature(const APostScriptLineInfo& inLine);
    void TurnOffManualFeed();
    void ProcessPage(const APostScriptLineInfo& inLine);
    void StateNumberOfPages();

    void InjectPageData();
    void InjectGuide();
    void ReadGuideFile(std::string_view inName);
    void RotateGuide();
    void InjectManualFeed();
    [[nodiscard]] std::string MakeRotation() const;
    [[nodiscard]] bool IsFirstPass() const { return fPageCounter <= fTotalPages / 2; }
    [[nodiscard]] bool IsStartOfSecondPass() const { return fPageCounter == fTotalPages / 2 + 1; }

    APageSizeRecord fPageSize;
    bool fCustomSize = false;     ///< the paper has a size of the user's own
    bool fTurnsFirstPass = false; ///< pages of the first pass are turned by 180 degrees
    bool fPrintGuide = false;
    std::string_view fGuideFileName;
    std::optional<std::string> fSecondSideCode;  ///< asks for the back side, in place of the usual request
    std::optional<std::string> fTumbleCondition; ///< PostScript: whether guides are turned the other way
    unsigned fPageCounter = 0;                   ///< pages and guide pages so far
    unsigned fTotalPages = 0;                    ///< guide pages included
};
