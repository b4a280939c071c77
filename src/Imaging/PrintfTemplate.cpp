#include "Imaging/PrintfTemplate.h"

#include "Imaging/NumberText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <optional>

namespace
{

constexpr int kWidestField = 255;

/// The longest number: 309 digits of the largest double, a sign, a point and the widest precision, with its NUL.
constexpr std::size_t kNumberSize = 309 + 2 + kWidestField + 1;

/// Makes this thread print numbers as the language C does, as long as it lives.
class AClassicNumbers
{
public:
    AClassicNumbers() : fClassic(newlocale(LC_ALL_MASK, "C", locale_t{})), fBefore(uselocale(fClassic)) {}
    ~AClassicNumbers()
    {
        uselocale(fBefore);
        if (fClassic != locale_t{})
        {
            freelocale(fClassic);
        }
    }
    AClassicNumbers(const AClassicNumbers&) = delete;
    AClassicNumbers& operator=(const AClassicNumbers&) = delete;

private:
    locale_t fClassic;
    locale_t fBefore;
};

/// The parts of "%-08.3lf".
struct ADirective
{
    std::string fFlags; ///< each at most once
    int fWidth = 0;
    std::optional<int> fPrecision;
    std::string_view fModifier;
    char fConversion = '\0'; ///< NUL at the end of the template
    std::size_t fLength = 0; ///< of the whole directive; for an unknown conversion, of what stands before it

    [[nodiscard]] bool HasFlag(char inFlag) const { return fFlags.find(inFlag) != std::string::npos; }
};

std::string_view TakeRun(std::string_view& ioText, std::string_view inBytes)
{
    const std::string_view run = ioText.substr(0, ioText.find_first_not_of(inBytes));
    ioText.remove_prefix(run.size());
    return run;
}

int TakeFieldSize(std::string_view& ioText)
{
    return static_cast<int>(std::min<long long>(ReadLeadingInteger(TakeRun(ioText, "0123456789")), kWidestField));
}

/// Reads the directive that the text opens with.
ADirective ParseDirective(std::string_view inText)
{
    ADirective directive;
    std::string_view rest = inText.substr(1);
    for (const char flag : TakeRun(rest, "-+ #0'"))
    {
        // Grouping is a matter of locales, so its flag has no effect.
        if (flag != '\'' && !directive.HasFlag(flag))
        {
            directive.fFlags += flag;
        }
    }
    directive.fWidth = TakeFieldSize(rest);
    if (rest.starts_with('.'))
    {
        rest.remove_prefix(1);
        directive.fPrecision = TakeFieldSize(rest);
    }
    directive.fModifier = TakeRun(rest, "hlLqjzt");
    directive.fLength = inText.size() - rest.size();
    constexpr std::string_view kConversions = "diuxcsfFeEgG";
    if (!rest.empty() && kConversions.find(rest.front()) != std::string_view::npos)
    {
        directive.fConversion = rest.front();
        ++directive.fLength;
    }
    return directive;
}

long long TruncateToInteger(double inValue)
{
    constexpr double kBeyond = 9223372036854775808.0; // 2 to the 63rd
    if (std::isnan(inValue))
    {
        return 0;
    }
    if (inValue >= kBeyond)
    {
        return LLONG_MAX;
    }
    return inValue < -kBeyond ? LLONG_MIN : static_cast<long long>(inValue);
}

long long AsInteger(const ATemplateArgument& inArgument)
{
    if (const auto* const text = std::get_if<std::string>(&inArgument))
    {
        return ReadLeadingInteger(*text);
    }
    const auto* const number = std::get_if<double>(&inArgument);
    return number != nullptr ? TruncateToInteger(*number) : std::get<long long>(inArgument);
}

double AsNumber(const ATemplateArgument& inArgument)
{
    if (const auto* const text = std::get_if<std::string>(&inArgument))
    {
        return ReadLeadingNumber(*text);
    }
    const auto* const number = std::get_if<double>(&inArgument);
    return number != nullptr ? *number : static_cast<double>(std::get<long long>(inArgument));
}

/// Prints a number through the C library; inType is its length modifier and conversion.
template <typename Number>
std::string PrintNumber(const ADirective& inDirective, const char* inType, Number inValue)
{
    const std::string format = "%" + inDirective.fFlags + "*.*" + inType;
    std::array<char, kNumberSize> text{};
    // A negative precision counts as none.
    const int length = snprintf(text.data(), text.size(), format.c_str(), inDirective.fWidth,
                                inDirective.fPrecision.value_or(-1), inValue);
    return {text.data(), static_cast<std::size_t>(std::max(length, 0))};
}

long long NarrowSigned(long long inValue, std::string_view inModifier)
{
    if (inModifier == "hh")
    {
        return static_cast<signed char>(inValue);
    }
    return inModifier == "h" ? static_cast<short>(inValue) : inValue;
}

unsigned long long NarrowUnsigned(long long inValue, std::string_view inModifier)
{
    if (inModifier == "hh")
    {
        return static_cast<unsigned char>(inValue);
    }
    if (inModifier == "h")
    {
        return static_cast<unsigned short>(inValue);
    }
    const bool isNegativeInt = inValue < 0 && inValue >= INT_MIN;
    return inModifier.empty() && isNegativeInt ? static_cast<unsigned>(inValue)
                                               : static_cast<unsigned long long>(inValue);
}

std::string AsText(const ATemplateArgument& inArgument)
{
    if (const auto* const text = std::get_if<std::string>(&inArgument))
    {
        return *text;
    }
    const auto* const number = std::get_if<double>(&inArgument);
    return number != nullptr ? PrintNumber({}, "f", *number) : std::to_string(std::get<long long>(inArgument));
}

std::string AsCharacter(const ATemplateArgument& inArgument)
{
    const auto* const text = std::get_if<std::string>(&inArgument);
    return text != nullptr ? text->substr(0, 1) : std::string(1, static_cast<char>(AsInteger(inArgument)));
}

std::string Pad(const ADirective& inDirective, std::string inText)
{
    const auto width = static_cast<std::size_t>(inDirective.fWidth);
    if (inText.size() < width)
    {
        inText.insert(inDirective.HasFlag('-') ? inText.size() : 0, width - inText.size(), ' ');
    }
    return inText;
}

std::string Convert(const ADirective& inDirective, const ATemplateArgument& inArgument)
{
    switch (inDirective.fConversion)
    {
    case 'd':
    case 'i':
        return PrintNumber(inDirective, "lld", NarrowSigned(AsInteger(inArgument), inDirective.fModifier));
    case 'u':
        return PrintNumber(inDirective, "llu", NarrowUnsigned(AsInteger(inArgument), inDirective.fModifier));
    case 'x':
        return PrintNumber(inDirective, "llx", NarrowUnsigned(AsInteger(inArgument), inDirective.fModifier));
    case 'c':
        return Pad(inDirective, AsCharacter(inArgument));
    case 's':
    {
        const auto most =
            inDirective.fPrecision ? static_cast<std::size_t>(*inDirective.fPrecision) : std::string::npos;
        return Pad(inDirective, AsText(inArgument).substr(0, most));
    }
    default:
        return PrintNumber(inDirective, std::array{inDirective.fConversion, '\0'}.data(), AsNumber(inArgument));
    }
}

} // namespace

std::string FormatTemplate(std::string_view inTemplate, std::span<const ATemplateArgument> inArguments)
{
    const AClassicNumbers classic;
    std::string result;
    auto argument = inArguments.begin();
    for (;;)
    {
        const std::size_t percent = std::min(inTemplate.find('%'), inTemplate.size());
        result.append(inTemplate.substr(0, percent));
        inTemplate.remove_prefix(percent);
        if (inTemplate.empty())
        {
            return result;
        }
        if (inTemplate.starts_with("%%"))
        {
            result += '%';
            inTemplate.remove_prefix(2);
            continue;
        }
        const ADirective directive = ParseDirective(inTemplate);
        if (directive.fConversion != '\0' && argument != inArguments.end())
        {
            result += Convert(directive, *argument++);
        }
        else
        {
            result.append(inTemplate.substr(0, directive.fLength));
        }
        inTemplate.remove_prefix(directive.fLength);
    }
}

std::string FormatTemplate(std::string_view inTemplate, std::initializer_list<ATemplateArgument> inArguments)
{
    return FormatTemplate(inTemplate, std::span(inArguments.begin(), inArguments.size()));
}
