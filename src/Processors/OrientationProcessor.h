#pragma once

#include <optional>
#include <string>

#include "Processors/PostScriptProcessor.h"

/// Tells the printer how the pages lie on the sheet, by the code that its description states for the orientation
/// (keyword VXInsertOrientation).
///
/// The code stands once in the setup section. When the job has printed guide pages for manual duplex between landscape
/// pages and its pages are rewritten, it stands at the start of every page instead, and the guides, which are upright,
/// get the code for portrait.
class AOrientationProcessor final : public APostScriptProcessor
{
public:
    explicit AOrientationProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "Orientation"; }
    [[nodiscard]] bool IsApplicable() const override;
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    void Initialize();
    [[nodiscard]] bool ShouldProcessPages() const { return fPortraitCode && GetSettingsStore().fRedefineShowpage; }
    void OrientJob();
    void OrientPage(const APostScriptLineInfo& inLine);

    std::optional<std::string> fOrientationCode; ///< none: there is nothing to write
    std::optional<std::string> fPortraitCode;    ///< only for landscape jobs with guide pages
    std::string fFeatureName;
    bool fIsByPage = false; ///< whether the code stands at every page
};
