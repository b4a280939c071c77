#pragma once

#include "Processors/PostScriptProcessor.h"

/// Writes the brightness of the four inks into the setup of the job, a feature block each.
class ALightnessAndHueProcessor final : public APostScriptProcessor
{
public:
    explicit ALightnessAndHueProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "Lightness&Hue"; }

    /// When the printer leaves the brightness of every ink to the user.
    [[nodiscard]] bool IsApplicable() const override;
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    void InsertBrightnessFeatureToPSFile(std::string_view inKeyword);
};
