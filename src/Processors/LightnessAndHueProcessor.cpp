#include "Processors/LightnessAndHueProcessor.h"

#include <algorithm>

#include "Imaging/PPDKeywords.h"
#include "Imaging/PostScriptText.h"
#include "Processors/ColourControl.h"

namespace
{

constexpr std::string_view kKeywords[] = {kVXCyanBrightnessPPDKey, kVXMagentaBrightnessPPDKey,
                                          kVXYellowBrightnessPPDKey, kVXBlackBrightnessPPDKey};
constexpr int kSetByUser = -1; ///< as printer descriptions say it

constexpr ATask kTasks[] = {
    {"%%BeginSetup", kBeforeLine, "Insert CMYK sliders invocation"},
};

} // namespace

ALightnessAndHueProcessor::ALightnessAndHueProcessor(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    if (IsApplicable())
    {
        RegisterTasks(kTasks);
    }
}

bool ALightnessAndHueProcessor::IsApplicable() const
{
    const APPDInfo* const ppd = GetSettingsStore().GetPPDInfo();
    return ppd != nullptr && std::ranges::all_of(kKeywords,
                                                 [ppd](std::string_view inKeyword) {
                                                     return ppd->IsFeatureSupported(inKeyword) &&
                                                            ppd->GetNumericValue(inKeyword) == kSetByUser;
                                                 });
}

LineProcessStatus ALightnessAndHueProcessor::ProcessLine(APostScriptLineInfo& /*ioLine*/)
{
    for (const std::string_view keyword : kKeywords)
    {
        InsertBrightnessFeatureToPSFile(keyword);
    }
    CompleteTask("%%BeginSetup");
    return kLineProcessUnchanged;
}

void ALightnessAndHueProcessor::InsertBrightnessFeatureToPSFile(std::string_view inKeyword)
{
    const auto code = GetControlTemplate(inKeyword);
    const auto value = GetControlValue(inKeyword);
    if (code && value)
    {
        InsertFeature(PSF::CreateStandardFeatureName(inKeyword, *value), FormatControl(*code, *value), true);
    }
}
