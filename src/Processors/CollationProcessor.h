#pragma once

#include "Processors/PostScriptProcessor.h"

/// Makes sure that a held or stored job is collated, and, with print dialogs that forget it, a stapled one too.
class ACollationProcessor final : public APostScriptProcessor
{
public:
    /// After the job storage processor was constructed.
    explicit ACollationProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "Collation"; }
    [[nodiscard]] bool IsApplicable() const override;
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    LineProcessStatus ReplaceCollation(const APostScriptLineInfo& inLine);
    void CollateHeldJob();
};
