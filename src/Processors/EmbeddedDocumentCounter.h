#pragma once

#include "Foundation/EmbeddedDocumentTracker.h"
#include "Processors/PostScriptProcessor.h"

/// Keeps the other processors away from documents embedded in the job: copies each of them through whole, so that no
/// other task sees the page comments, setup comments or trailers inside it.
class AEmbeddedDocumentCounter final : public APostScriptProcessor
{
public:
    explicit AEmbeddedDocumentCounter(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "EmbeddedDocumentCounter"; }
    [[nodiscard]] bool IsApplicable() const override { return true; }
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    AEmbeddedDocumentTracker fTracker;
};
