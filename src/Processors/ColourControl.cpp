#include "Processors/ColourControl.h"

#include "Foundation/SettingsStore.h"
#include "Imaging/NumberText.h"
#include "Imaging/PPDKeywords.h"
#include "Imaging/PrintfTemplate.h"

std::optional<std::string> GetControlTemplate(std::string_view inKey)
{
    return ASettingsStore::GetInstance().GetInvocationCode(KControlPSCodePPDKey, inKey);
}

std::optional<std::string> GetControlValue(std::string_view inKey)
{
    const ASettingsStore& settings = ASettingsStore::GetInstance();
    if (const AOptionValue value = settings.GetCUPSOption(inKey))
    {
        return std::string(*value);
    }
    return settings.GetInvocationCode(kControlDefaultValuePPDKey, inKey);
}

std::string FormatControl(std::string_view inTemplate, std::string_view inValue)
{
    return FormatTemplate(inTemplate, {ReadLeadingInteger(inValue)});
}
