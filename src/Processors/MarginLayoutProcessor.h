#pragma once

#include <optional>
#include <string_view>

#include "Processors/PostScriptProcessor.h"

/// Makes the margins layout mode of the job agree with its paper: a paper without margins, and one with a size of the
/// user's own, is printed to its edges.
class AMarginLayoutProcessor final : public APostScriptProcessor
{
public:
    explicit AMarginLayoutProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "MarginLayout"; }
    [[nodiscard]] bool IsApplicable() const override { return fLayoutMode.has_value(); }
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    [[nodiscard]] static std::optional<std::string_view> FindLayoutMode();
    [[nodiscard]] static bool IsBorderless(std::string_view inMedia);

    std::optional<std::string_view> fLayoutMode; ///< to be written; none when the user's choice stands
};
