#include <algorithm>
#include <vector>

#include "FuzzSupport.h"
#include "Imaging/PrintfTemplate.h"

namespace
{

// 309 digits of the largest double, a precision of 255, a sign and a point.
constexpr std::size_t kLongestNumber = 309 + 255 + 2;

ATemplateArgument MakeArgument(std::string_view inText)
{
    if (inText.starts_with('i'))
    {
        return std::strtoll(std::string(inText.substr(1)).c_str(), nullptr, 0);
    }
    if (inText.starts_with('f'))
    {
        return std::strtod(std::string(inText.substr(1)).c_str(), nullptr);
    }
    return std::string(inText);
}

} // namespace

/// The first line is the template, each further one an argument: "i5", "f0.5", or a text.
void Fuzz(std::string_view inInput)
{
    std::string_view rest = inInput;
    const std::string_view text = TakeUpTo(rest, "\n");
    std::vector<ATemplateArgument> arguments;
    while (!rest.empty() && arguments.size() < 8)
    {
        arguments.push_back(MakeArgument(TakeUpTo(rest, "\n")));
    }
    const std::string result = FormatTemplate(text, arguments);
    const std::size_t longest = std::max(kLongestNumber, inInput.size());
    Require(result.size() <= text.size() + arguments.size() * longest, "no result without a limit");
    Require(text.find('%') != std::string_view::npos || result == text, "a plain template stays as it is");
    Require(FormatTemplate(text, {}).size() <= text.size(), "without arguments nothing is added");
}
