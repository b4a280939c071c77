#include "Imaging/TextEncoding.h"

#include <algorithm>
#include <array>
#include <utility>

namespace
{

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD"; // U+FFFD

/// One character and the bytes it takes; no bytes stand for "not well-formed here".
struct ADecodedCharacter
{
    char32_t fCode = 0;
    std::size_t fLength = 0;
};

/// Lead bytes of the lengths 1 to 4: what they look like, and the smallest code that needs the length.
struct ASequenceForm
{
    unsigned fMask;
    unsigned fLead;
    char32_t fSmallest;
};
constexpr std::array<ASequenceForm, 4> kForms = {
    {{0x80, 0x00, 0}, {0xE0, 0xC0, 0x80}, {0xF0, 0xE0, 0x800}, {0xF8, 0xF0, 0x10000}}};

unsigned GetByte(std::string_view inBytes, std::size_t inIndex)
{
    return static_cast<unsigned char>(inBytes[inIndex]);
}

constexpr bool IsScalarValue(char32_t inCode)
{
    return inCode <= 0x10FFFF && (inCode < 0xD800 || inCode > 0xDFFF);
}

/// The first character of a text that is not empty.
ADecodedCharacter DecodeFirst(std::string_view inBytes)
{
    const unsigned lead = GetByte(inBytes, 0);
    const auto* const form =
        std::find_if(kForms.begin(), kForms.end(), [lead](const auto& f) { return (lead & f.fMask) == f.fLead; });
    if (form == kForms.end())
    {
        return {};
    }
    const auto length = static_cast<std::size_t>(form - kForms.begin()) + 1;
    if (inBytes.size() < length)
    {
        return {};
    }
    char32_t code = lead & ~form->fMask & 0xFF;
    for (std::size_t i = 1; i < length; ++i)
    {
        if ((GetByte(inBytes, i) & 0xC0) != 0x80)
        {
            return {};
        }
        code = (code << 6) | (GetByte(inBytes, i) & 0x3F);
    }
    return code >= form->fSmallest && IsScalarValue(code) ? ADecodedCharacter{code, length} : ADecodedCharacter{};
}

std::optional<std::string> ConvertToLatin1(std::string_view inUTF8)
{
    std::string text;
    for (std::string_view rest = inUTF8; !rest.empty();)
    {
        const ADecodedCharacter character = DecodeFirst(rest);
        if (character.fLength == 0 || character.fCode > 0xFF)
        {
            return std::nullopt;
        }
        text += static_cast<char>(character.fCode);
        rest.remove_prefix(character.fLength);
    }
    return text;
}

constexpr bool IsControlCharacter(char32_t inCode)
{
    return inCode < 0x20 || (inCode >= 0x7F && inCode <= 0x9F);
}

} // namespace

bool IsValidUTF8(std::string_view inBytes)
{
    while (!inBytes.empty())
    {
        const std::size_t length = DecodeFirst(inBytes).fLength;
        if (length == 0)
        {
            return false;
        }
        inBytes.remove_prefix(length);
    }
    return true;
}

std::string ReadAsUTF8(std::string_view inBytes)
{
    if (IsValidUTF8(inBytes))
    {
        return std::string(inBytes);
    }
    std::string text;
    for (std::size_t i = 0; i < inBytes.size(); ++i)
    {
        const unsigned code = GetByte(inBytes, i);
        if (code < 0x80)
        {
            text += static_cast<char>(code);
            continue;
        }
        text += static_cast<char>(0xC0 | (code >> 6));
        text += static_cast<char>(0x80 | (code & 0x3F));
    }
    return text;
}

std::string ConvertText(std::string_view inUTF8, TextEncoding inEncoding, std::size_t inBufferSize)
{
    std::optional<std::string> text;
    if (inEncoding == TextEncoding::kISOLatin1)
    {
        text = ConvertToLatin1(inUTF8);
    }
    else if (IsValidUTF8(inUTF8))
    {
        text = inUTF8;
    }
    return text && text->size() < inBufferSize ? *std::move(text) : std::string();
}

namespace AStringValidator
{

std::optional<std::string> CreateCorrectedValue(std::string_view inValue)
{
    std::string corrected;
    for (std::string_view rest = inValue; !rest.empty();)
    {
        const ADecodedCharacter character = DecodeFirst(rest);
        const std::size_t length = std::max<std::size_t>(character.fLength, 1);
        if (character.fLength == 0)
        {
            corrected += kReplacementCharacter;
        }
        else if (IsControlCharacter(character.fCode))
        {
            corrected += ' ';
        }
        else
        {
            corrected += rest.substr(0, length);
        }
        rest.remove_prefix(length);
    }
    return corrected == inValue ? std::nullopt : std::optional(std::move(corrected));
}

} // namespace AStringValidator
