#include "Imaging/PostScriptText.h"

#include <algorithm>
#include <charconv>
#include <system_error>

namespace
{

constexpr std::string_view kPageComment = "%%Page:";
constexpr std::string_view kBlanks = " \t";

constexpr bool IsControl(char inByte)
{
    const auto byte = static_cast<unsigned char>(inByte);
    return byte < 0x20 || byte == 0x7F;
}

void AppendOctalEscape(std::string& ioText, unsigned char inByte)
{
    ioText += '\\';
    ioText += static_cast<char>('0' + (inByte >> 6));
    ioText += static_cast<char>('0' + ((inByte >> 3) & 7));
    ioText += static_cast<char>('0' + (inByte & 7));
}

std::string_view SkipBlanks(std::string_view inText)
{
    return inText.substr(std::min(inText.find_first_not_of(kBlanks), inText.size()));
}

/// Length of the PostScript string that the text opens with, both parentheses included; 0 when it never closes.
std::size_t MeasureParenthesised(std::string_view inText)
{
    std::size_t depth = 0;
    for (std::size_t i = 0; i < inText.size(); ++i)
    {
        if (inText[i] == '\\')
        {
            ++i;
        }
        else if (inText[i] == '(')
        {
            ++depth;
        }
        else if (inText[i] == ')' && --depth == 0)
        {
            return i + 1;
        }
    }
    return 0;
}

std::size_t MeasureLabel(std::string_view inText)
{
    return inText.starts_with('(') ? MeasureParenthesised(inText)
                                   : std::min(inText.find_first_of(kBlanks), inText.size());
}

std::optional<int> ReadOrdinal(std::string_view inText)
{
    // std::from_chars would take a minus sign.
    if (inText.starts_with('-'))
    {
        return std::nullopt;
    }
    int ordinal = 0;
    const auto result = std::from_chars(inText.data(), inText.data() + inText.size(), ordinal);
    return result.ec == std::errc() ? std::optional(ordinal) : std::nullopt;
}

} // namespace

namespace PSF
{

std::string CreateFormatedString(std::string_view inText)
{
    std::string text;
    text.reserve(inText.size());
    for (const char byte : inText)
    {
        if (IsControl(byte))
        {
            AppendOctalEscape(text, static_cast<unsigned char>(byte));
            continue;
        }
        if (byte == '(' || byte == ')' || byte == '\\')
        {
            text += '\\';
        }
        text += byte;
    }
    return text;
}

std::string CreateStandardFeatureName(std::string_view inKeyword, std::string_view inOption)
{
    std::string name(inKeyword);
    if (!inOption.empty())
    {
        name.append(" ").append(inOption);
    }
    std::replace_if(name.begin(), name.end(), IsControl, ' ');
    return name;
}

std::optional<APageInfo> GetPageInfoFromPSPageInvocation(std::string_view inLine)
{
    const std::string_view line = inLine.substr(0, inLine.find('\0'));
    const std::size_t comment = line.find(kPageComment);
    if (comment == std::string_view::npos)
    {
        return std::nullopt;
    }
    const std::string_view text = SkipBlanks(line.substr(comment + kPageComment.size()));
    const std::string_view label = text.substr(0, MeasureLabel(text));
    const std::string_view afterLabel = text.substr(label.size());
    const std::string_view ordinalText = SkipBlanks(afterLabel);
    if (label.empty() || ordinalText.size() == afterLabel.size())
    {
        return std::nullopt;
    }
    const std::optional<int> ordinal = ReadOrdinal(ordinalText);
    return ordinal ? std::optional(APageInfo{label, *ordinal}) : std::nullopt;
}

} // namespace PSF
