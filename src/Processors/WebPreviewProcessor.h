#pragma once

#include "Processors/PostScriptProcessor.h"

/// Tells the printer whether to hold the job, for the user to look at it in the printer's own pages first.
class AWebPreviewProcessor final : public APostScriptProcessor
{
public:
    explicit AWebPreviewProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "WebPreview"; }
    [[nodiscard]] bool IsApplicable() const override { return GetCUPSOption("VXHoldJob", true).has_value(); }
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;
};
