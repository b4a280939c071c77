#pragma once

#include "Processors/PostScriptProcessor.h"

/// Prints the pages mirrored, the guide pages of manual duplex too.
class AMirrorPrintProcessor final : public APostScriptProcessor
{
public:
    explicit AMirrorPrintProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "Mirror"; }
    [[nodiscard]] bool IsApplicable() const override { return GetSettingsStore().fMirrorPrint; }
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    LineProcessStatus DropOwnFeature(const APostScriptLineInfo& inLine);
    void MirrorPages();
    void MirrorGuide();

    int fGuideCount = 0; ///< guide pages mirrored so far
};
