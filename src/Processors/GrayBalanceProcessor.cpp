#include "Processors/GrayBalanceProcessor.h"

#include "Imaging/PPDKeywords.h"
#include "Imaging/PostScriptText.h"
#include "Processors/ColourControl.h"

namespace
{

constexpr ATask kTasks[] = {
    {"%%BeginSetup", kBeforeLine, "Insert gray balance invocations"},
};

} // namespace

AGrayBalanceProcessor::AGrayBalanceProcessor(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    if (IsApplicable())
    {
        RegisterTasks(kTasks);
    }
}

bool AGrayBalanceProcessor::IsApplicable() const
{
    return GetSettingsStore().IsFeatureSupported(kGrayBalanceAdjustmentKey);
}

LineProcessStatus AGrayBalanceProcessor::ProcessLine(APostScriptLineInfo& /*ioLine*/)
{
    for (std::size_t i = 0; i < kZonesLimitsKeys.size(); ++i)
    {
        InsertGrayBalanceFeatureToPSFile(kZonesLimitsKeys[i], kZonesDefaultGrayValues[i]);
    }
    for (std::size_t i = 0; i < kZonesHueLevelsKeys.size(); ++i)
    {
        InsertGrayBalanceFeatureToPSFile(kZonesHueLevelsKeys[i], kHueAdjustDefaultValues[i]);
    }
    CompleteTask("%%BeginSetup");
    return kLineProcessUnchanged;
}

void AGrayBalanceProcessor::InsertGrayBalanceFeatureToPSFile(std::string_view inKey, int inDefault)
{
    auto code = GetControlTemplate(inKey);
    if (!code)
    {
        code = GetSettingsStore().GetInvocationCode(kGrayBalanceAdjustmentKey, inKey);
    }
    if (code)
    {
        const std::string value = GetControlValue(inKey).value_or(std::to_string(inDefault));
        InsertFeature(PSF::CreateStandardFeatureName(kGrayBalanceAdjustmentKey, inKey), FormatControl(*code, value),
                      true);
    }
}
