#pragma once

#include "Processors/PostScriptProcessor.h"

/// Switches two-sided printing off for the last page of an odd document, so that the last sheet is printed on one side
/// and does not have to pass the duplex unit.
class ASmartDuplexProcessor final : public APostScriptProcessor
{
public:
    explicit ASmartDuplexProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "SmartDuplex"; }
    [[nodiscard]] bool IsApplicable() const override;
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    void SwitchDuplexOff();

    unsigned fPageCount = 0; ///< pages so far, repeated ("excessive") page comments left out
};
