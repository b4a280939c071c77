#pragma once

#include "Processors/PostScriptProcessor.h"

/// Installs the redefinition of the page-drawing operators that the page-transforming features rely on, and shows each
/// page at the boundary to the next one.
class ARenderingProcessor final : public APostScriptProcessor
{
public:
    explicit ARenderingProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "Rendering"; }
    [[nodiscard]] bool IsApplicable() const override { return GetSettingsStore().fRedefineShowpage; }
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    void ProcessPage(const APostScriptLineInfo& inLine);

    bool fIsFirstPage = true;
    bool fIsExcessivePage = false; ///< the page before repeats its predecessor
    int fLastPageNumber = 0;
};
