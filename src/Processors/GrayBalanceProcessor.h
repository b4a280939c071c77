#pragma once

#include "Processors/PostScriptProcessor.h"

/// Writes the gray balance into the setup of the job: for each of three tonal zones its limit and two hue levels, a
/// feature block each.
class AGrayBalanceProcessor final : public APostScriptProcessor
{
public:
    explicit AGrayBalanceProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "GrayBalance"; }
    [[nodiscard]] bool IsApplicable() const override;
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    void InsertGrayBalanceFeatureToPSFile(std::string_view inKey, int inDefault);
};
