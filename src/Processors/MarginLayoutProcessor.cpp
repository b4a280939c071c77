#include "Processors/MarginLayoutProcessor.h"

#include "Imaging/PPDKeywords.h"
#include "Imaging/PostScriptText.h"

namespace
{

constexpr ATask kTasks[] = {
    {"VXMarginsLayoutMode", kBeforeLine, "Insert margins layout mode invocation"},
};

} // namespace

AMarginLayoutProcessor::AMarginLayoutProcessor(ADocumentIterator& ioIterator)
    : APostScriptProcessor(ioIterator), fLayoutMode(FindLayoutMode())
{
    if (IsApplicable())
    {
        RegisterTasks(kTasks);
    }
}

std::optional<std::string_view> AMarginLayoutProcessor::FindLayoutMode()
{
    const AOptionValue media = GetCUPSOption("media");
    if (!media || !GetSettingsStore().IsFeatureSupported(kMarginsLayoutFeature))
    {
        return std::nullopt;
    }
    const bool isOversize = media->starts_with("Custom") || IsBorderless(*media);
    const AOptionValue mode = GetCUPSOption(kVXMarginsLayoutModeKeyRef);
    if (mode && IsOption(mode, kStandardKeyRef) != isOversize)
    {
        return std::nullopt;
    }
    return isOversize ? kOversizeKeyRef : kStandardKeyRef;
}

bool AMarginLayoutProcessor::IsBorderless(std::string_view inMedia)
{
    const auto margins = GetSettingsStore().GetPPDInfo()->GetPaperMargins(inMedia);
    return margins && margins->fLeft == 0 && margins->fBottom == 0 && margins->fRight == 0 && margins->fTop == 0;
}

LineProcessStatus AMarginLayoutProcessor::ProcessLine(APostScriptLineInfo& ioLine)
{
    if (!BeginsFeature(ioLine))
    {
        return kLineProcessUnchanged;
    }
    SkipCurrentFeature();
    if (const auto code = GetSettingsStore().GetInvocationCode(kVXMarginsLayoutModeKeyRef, *fLayoutMode))
    {
        InsertFeature(PSF::CreateStandardFeatureName(kVXMarginsLayoutModeKeyRef, *fLayoutMode), *code, false);
    }
    CompleteTask("VXMarginsLayoutMode");
    return kLineProcessSkip;
}
