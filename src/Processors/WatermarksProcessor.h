#pragma once

#include "Imaging/TextLine.h"
#include "Processors/PostScriptProcessor.h"
#include "Processors/WatermarkSettings.h"

/// Puts a text on the pages of the job, under their content or over it.
///
/// No font of the printer is needed: the outlines of the letters stand once in the setup, as a procedure that draws
/// them, and each page that is to be marked calls it. A text that cannot be laid out costs the mark, not the job.
class AWatermarksProcessor final : public APostScriptProcessor
{
public:
    explicit AWatermarksProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "Watermark"; }
    [[nodiscard]] bool IsApplicable() const override { return GetSettingsStore().fWatermarksOn; }
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    void Initialize();
    void InjectWatermarks();
    void DrawText(const ATextLine& inLine);
    void PaintText();
    void BeginPage();
    void PrepareMark();
    void EndDocument();
    void DrawOverlay();
    void DrawWatermark();
    [[nodiscard]] bool IsOverlay() const { return fSettings.fMode == WatermarkMode::kOverlay; }
    [[nodiscard]] bool IsBlankFiller() const;
    [[nodiscard]] bool IsToBeMarked() const;

    AWatermarkSettings fSettings;
    int fPageCount = 0; ///< pages that began so far, guide pages included, repeated comments not
    bool fIsInjected = false;
    bool fTrailerWasSeen = false;
    bool fIsPageBegun = false; ///< the page's comment was seen, the end of its setup not yet
    bool fIsFirstPage = false; ///< the page is number 1 and has no mark yet
};
