#include "Processors/WatermarkSettings.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <span>
#include <string_view>

#include "Foundation/SettingsStore.h"
#include "Imaging/Logger.h"
#include "Imaging/NumberText.h"
#include "Imaging/OptionCoding.h"
#include "Imaging/PPDKeywords.h"
#include "Imaging/PrintfTemplate.h"
#include "Imaging/TextEncoding.h"

namespace
{

constexpr std::string_view kFontStyle = " Bold";
constexpr std::string_view kDefaultFont = "Helvetica Bold";
constexpr int kDefaultFontSize = 48;
constexpr long long kLargestFontSize = 2000;
constexpr std::size_t kAnglePrefix = 3; ///< "Deg" in "Deg45", "DegN45"

/// What a choice of an option stands for.
template <class T>
struct AChoice
{
    std::string_view fName;
    T fValue;
};

constexpr AChoice<AWatermarkColor> kColors[] = {
    {"Red", {0, 1, 0.3F, 0}},      {"Orange", {0, 0.5F, 1, 0}}, {"Yellow", {0, 0, 1, 0}},
    {"Green", {0.9F, 0, 0.9F, 0}}, {"Blue", {1, 0.1F, 0, 0}},   {"Purple", {0.8F, 0.8F, 0, 0}},
};
constexpr AChoice<WatermarkStyle> kStyles[] = {
    {"Thin", WatermarkStyle::kThin},
    {"Thick", WatermarkStyle::kThick},
    {"Halo", WatermarkStyle::kHalo},
    {"Fill", WatermarkStyle::kFill},
};
constexpr AChoice<float> kBrightnesses[] = {
    {"Darkest", 1},         {"Darker", 0.88F}, {"Dark", 0.77F},    {"MediumDark", 0.66F}, {"Normal", 0.55F},
    {"MediumLight", 0.44F}, {"Light", 0.33F},  {"Lighter", 0.22F}, {"Lightest", 0.11F},
};

AOptionValue GetOption(std::string_view inKey)
{
    return ASettingsStore::GetInstance().GetCUPSOption(inKey);
}

template <class T>
T ReadChoice(std::string_view inKey, std::span<const AChoice<T>> inChoices, T inDefault)
{
    const AOptionValue value = GetOption(inKey);
    const auto isValue = [&](const AChoice<T>& inChoice) { return value && *value == inChoice.fName; };
    const auto found = std::find_if(inChoices.begin(), inChoices.end(), isValue);
    return found != inChoices.end() ? found->fValue : inDefault;
}

std::string ReadText(const std::string& inDefault)
{
    const std::string text = ReadAsUTF8(CreateDecodedCString(GetOption("VXwmCodedTextMessage").value_or("")));
    return text.empty() ? inDefault : text;
}

int ReadAngle(int inDefault)
{
    using Limits = std::numeric_limits<int>;
    const std::string_view value = GetOption("VXwmrTextAngle").value_or("");
    if (value.size() <= kAnglePrefix)
    {
        return inDefault;
    }
    const bool isNegative = value[kAnglePrefix] == 'N';
    const long long angle = std::clamp<long long>(ReadLeadingInteger(value.substr(kAnglePrefix + (isNegative ? 1 : 0))),
                                                  -Limits::max(), Limits::max());
    return static_cast<int>(isNegative ? -angle : angle);
}

std::string ReadFontName()
{
    const AOptionValue value = GetOption("VXwmrFontName");
    return value ? std::string(*value).append(kFontStyle) : std::string();
}

int ReadFontSize(int inDefault)
{
    const std::string_view value = GetOption("VXwmrFontSize").value_or("");
    const std::size_t digits = value.find_first_of("0123456789");
    return digits != std::string_view::npos
               ? static_cast<int>(std::min(ReadLeadingInteger(value.substr(digits)), kLargestFontSize))
               : inDefault;
}

const char* ToWord(bool inValue)
{
    return inValue ? "yes" : "no";
}

/// Whatever the locale.
void LogNumbers(std::string_view inTemplate, std::initializer_list<ATemplateArgument> inNumbers)
{
    LoggerLogMessage(kLogTrace, "%s", FormatTemplate(inTemplate, inNumbers).c_str());
}

} // namespace

AWatermarkSettings AWatermarkSettings::Read()
{
    AWatermarkSettings settings;
    settings.fMode = GetOption("VXwmrSwitch") == "Watermark" ? WatermarkMode::kWatermark : WatermarkMode::kOverlay;
    settings.fIsOnFirstPageOnly = ASettingsStore::GetInstance().fWatermarkFirstPageOnly;
    settings.fText = ReadText(settings.fText);
    settings.fAngle = ReadAngle(settings.fAngle);
    settings.fFontName = ReadFontName();
    settings.fFontSize = ReadFontSize(settings.fFontSize);
    settings.fColor = ReadChoice<AWatermarkColor>("VXwmrTextColor", kColors, settings.fColor);
    settings.fStyle = ReadChoice<WatermarkStyle>("VXwmrTextStyle", kStyles, settings.fStyle);
    settings.fBrightness = ReadChoice<float>("VXwmrBrightness", kBrightnesses, settings.fBrightness);
    const AOptionValue device = GetOption("ColorDevice");
    settings.fIsForColor = device && !IsOption(device, kTrueValue);
    return settings;
}

std::string AWatermarkSettings::GetFont() const
{
    const std::string name = fFontName.empty() ? std::string(kDefaultFont) : fFontName;
    return name + " " + std::to_string(fFontSize == 0 ? kDefaultFontSize : fFontSize);
}

void AWatermarkSettings::Log() const
{
    LoggerLogMessage(kLogTrace, "VXwm: init\n");
    LoggerLogMessage(kLogTrace, "VXwm: mode = %d\n", static_cast<int>(fMode));
    LoggerLogMessage(kLogTrace, "VXwm: first only = %s\n", ToWord(fIsOnFirstPageOnly));
    LoggerLogMessage(kLogTrace, "VXwm: angle = %d\n", fAngle);
    LoggerLogMessage(kLogTrace, "VXwm: font = %s\n", fFontName.c_str());
    LogNumbers("VXwm: color = %f %f %f %f\n", {fColor.fCyan, fColor.fMagenta, fColor.fYellow, fColor.fBlack});
    LoggerLogMessage(kLogTrace, "VXwm: style = %d\n", static_cast<int>(fStyle));
    LogNumbers("VXwm: brightness = %f\n", {fBrightness});
    LoggerLogMessage(kLogTrace, "VXwm: color = %s\n", ToWord(fIsForColor));
    LoggerLogMessage(kLogTrace, "VXwm: text = %s\n", fText.c_str());
}
