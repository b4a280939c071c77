#include "Imaging/NumberText.h"

#include <array>
#include <charconv>
#include <limits>
#include <system_error>

namespace
{

/// What std::from_chars does not skip itself: white space and a plus sign. Nothing is left of a text that goes on with
/// anything but digits (and a point).
std::string_view SkipToNumber(std::string_view inText, std::string_view inDigits)
{
    const std::size_t start = inText.find_first_not_of(" \t\n\v\f\r");
    if (start == std::string_view::npos)
    {
        return {};
    }
    std::string_view number = inText.substr(start);
    const std::size_t sign = number.starts_with('+') || number.starts_with('-') ? 1 : 0;
    if (number.size() <= sign || inDigits.find(number[sign]) == std::string_view::npos)
    {
        return {};
    }
    return number.starts_with('+') ? number.substr(1) : number;
}

} // namespace

long long ReadLeadingInteger(std::string_view inText)
{
    const std::string_view number = SkipToNumber(inText, "0123456789");
    long long value = 0;
    if (std::from_chars(number.data(), number.data() + number.size(), value).ec == std::errc::result_out_of_range)
    {
        using Limits = std::numeric_limits<long long>;
        return number.starts_with('-') ? Limits::min() : Limits::max();
    }
    return value;
}

double ReadLeadingNumber(std::string_view inText)
{
    const std::string_view number = SkipToNumber(inText, ".0123456789");
    double value = 0;
    const auto result = std::from_chars(number.data(), number.data() + number.size(), value);
    return result.ec == std::errc() ? value : 0;
}

std::string WriteFixed(double inValue, int inDecimals)
{
    // The largest double has 309 digits in front of its point.
    std::array<char, 352> digits{};
    const auto end =
        std::to_chars(digits.data(), digits.data() + digits.size(), inValue, std::chars_format::fixed, inDecimals).ptr;
    const std::string text(digits.data(), end);
    return text.find_first_not_of("-0.") == std::string::npos && text.starts_with('-') ? text.substr(1) : text;
}

void AppendNumber(std::string& ioText, float inValue)
{
    std::array<char, 64> text; // the largest float has 39 digits before the point
    const auto end = std::to_chars(text.begin(), text.end(), inValue, std::chars_format::fixed, 6).ptr;
    ioText.append(text.begin(), end);
}
