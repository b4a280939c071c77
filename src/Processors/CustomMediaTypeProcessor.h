#pragma once

#include <string>

#include "Processors/PostScriptProcessor.h"

/// Replaces the job's media type by one that the user defined at the printer and chose by its identifier.
class ACustomMediaTypeProcessor final : public APostScriptProcessor
{
public:
    explicit ACustomMediaTypeProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "CustomMediaType"; }
    [[nodiscard]] bool IsApplicable() const override;
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    void Initialize();

    std::string fMediaTypeCode; ///< empty when the printer has none for such types
    std::string fMediaTypeFeatureName;
};
