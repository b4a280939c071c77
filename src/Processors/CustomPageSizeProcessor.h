#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "Processors/PostScriptProcessor.h"

/// A paper size of the user's own, as the parts of its option "Custom.WIDTHxHEIGHT" (points) stand in a job.
struct ACustomSize
{
    double fWidth = 0;
    double fHeight = 0;
    std::string fMediaSize;    ///< "WIDTH HEIGHT"
    std::string fIntegerSize;  ///< the same in whole points
    std::string fPageSizeCall; ///< operands of the printer's procedure for custom sizes

    /// None for another paper, for one with a part missing, and for the size of Letter, which every printer has.
    [[nodiscard]] static std::optional<ACustomSize> Read(std::string_view inMedia);
};

/// Makes old wide-format printers take a custom paper size: the line that states the size is followed by the operands
/// of their own procedure, once a job.
class ACustomPageSizeProcessor final : public APostScriptProcessor
{
public:
    explicit ACustomPageSizeProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "CustomPageSize"; }
    [[nodiscard]] bool IsApplicable() const override;
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    void Initialize();
    [[nodiscard]] bool AreBoundsValid() const;
    [[nodiscard]] static bool IsOldPrinter();
    [[nodiscard]] bool StatesSize(const APostScriptLineInfo& inLine) const;
    void InsertPageSize();

    std::optional<ACustomSize> fSize;
    bool fIsOldPrinter = false; ///< an old model with an old printer description
    bool fIsWritten = false;
};
