#pragma once

#include <string>
#include <string_view>

#include "Processors/PostScriptProcessor.h"

/// The text without any occurrence of the sequence that begins the Tagged Binary Communications Protocol.
[[nodiscard]] std::string RemoveTBCPBeginTagFromPSLine(std::string_view inLine);

/// Switches a printer that talks the Tagged Binary Communications Protocol (Adobe, 1992) to it in front of the job, and
/// removes a stray switch from inside the job. Only for systems before 10.4, whose converter left that to the filter.
class ATBCPProcessor final : public APostScriptProcessor
{
public:
    explicit ATBCPProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "TBCP"; }
    [[nodiscard]] bool IsApplicable() const override;
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;
};
