#include "Processors/CustomMediaTypeProcessor.h"

#include "Imaging/PPDKeywords.h"
#include "Imaging/PostScriptText.h"
#include "Imaging/PrintfTemplate.h"

namespace
{

constexpr ATask kTasks[] = {
    {"MediaType", kBeforeLine, "Insert custom media type"},
};

} // namespace

ACustomMediaTypeProcessor::ACustomMediaTypeProcessor(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    if (IsApplicable())
    {
        Initialize();
        RegisterTasks(kTasks);
    }
}

bool ACustomMediaTypeProcessor::IsApplicable() const
{
    return GetCUPSOption("VXCustomMediaTypeID").has_value();
}

void ACustomMediaTypeProcessor::Initialize()
{
    const APPDInfo* const ppd = GetSettingsStore().GetPPDInfo();
    const auto code = ppd != nullptr ? ppd->GetValue(kVXCustomMediaTypePSCodeKeyRef) : std::nullopt;
    if (code)
    {
        fMediaTypeCode = FormatTemplate(*code, {std::string(*GetCUPSOption("VXCustomMediaTypeID"))});
    }
    const std::string name(GetCUPSOption("VXCustomMediaTypeName").value_or(""));
    fMediaTypeFeatureName =
        PSF::CreateStandardFeatureName(kMediaTypePPDKeyRef, std::string(kCustomMediaPrefixRef) + name);
}

LineProcessStatus ACustomMediaTypeProcessor::ProcessLine(APostScriptLineInfo& ioLine)
{
    if (fMediaTypeCode.empty())
    {
        return kLineProcessError;
    }
    if (!BeginsFeature(ioLine))
    {
        return kLineProcessUnchanged;
    }
    SkipCurrentFeature();
    InsertFeature(fMediaTypeFeatureName, fMediaTypeCode, false);
    CompleteTask("MediaType");
    return kLineProcessSkip;
}
