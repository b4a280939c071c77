#include "Processors/EmbeddedDocumentCounter.h"

namespace
{

constexpr ATask kTasks[] = {
    {"%%BeginDocument", kBeforeLine, "", !kRegExp, kOptional},
    {"%!PS-Adobe", kBeforeLine, "", !kRegExp, kOptional},
};

} // namespace

AEmbeddedDocumentCounter::AEmbeddedDocumentCounter(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    RegisterTasks(kTasks);
}

LineProcessStatus AEmbeddedDocumentCounter::ProcessLine(APostScriptLineInfo& ioLine)
{
    const bool wasCopied = fTracker.SkipEmbeddedDocument(ioLine.GetLine(), GetInputFile(), GetOutputFile());
    return wasCopied ? kLineProcessSkip : kLineProcessUnchanged;
}
