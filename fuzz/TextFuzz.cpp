#include "FuzzSupport.h"
#include "Imaging/OptionCoding.h"
#include "Imaging/PostScriptText.h"
#include "Imaging/TextEncoding.h"

namespace
{

bool HasControl(std::string_view inText)
{
    return std::string(inText).find_first_of(std::string("\0\x01\n\r\x1b\x1f\x7f", 7)) != std::string::npos;
}

/// The text of a PostScript string must not end it: every parenthesis is escaped, and the last backslash escapes.
void CheckPostScriptString(std::string_view inText)
{
    const std::string text = PSF::CreateFormatedString(inText);
    Require(!HasControl(text), "a PostScript string holds no control character");
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        Require(text[i] != '(' && text[i] != ')', "parentheses are escaped");
        i += text[i] == '\\' ? 1U : 0U;
        Require(i < text.size(), "the last backslash escapes something");
    }
    Require(!HasControl(PSF::CreateStandardFeatureName(inText, inText)), "a feature name stays on its line");
}

} // namespace

void Fuzz(std::string_view inInput)
{
    const std::string decoded = CreateDecodedCString(inInput);
    Require(decoded.size() <= inInput.size(), "decoding never grows a text");
    Require(decoded.find('\0') == std::string::npos, "decoding stops at a NUL");
    const bool isPlain = inInput.find_first_of(std::string_view("%\0", 2)) == std::string_view::npos;
    Require(!isPlain || decoded == inInput, "a plain text decodes to itself");
    CheckPostScriptString(inInput);
    const std::string utf8 = ReadAsUTF8(inInput);
    Require(IsValidUTF8(utf8), "what was read is UTF-8");
    Require(!IsValidUTF8(inInput) || utf8 == inInput, "UTF-8 stays as it is");
    const std::size_t size = inInput.size() / 2 + 1;
    Require(ConvertText(utf8, TextEncoding::kISOLatin1, size).size() < size, "a conversion fits its buffer");
    Require(ConvertText(utf8, TextEncoding::kUTF8, utf8.size() + 1) == utf8, "UTF-8 converts to itself");
    if (const auto corrected = AStringValidator::CreateCorrectedValue(inInput))
    {
        Require(IsValidUTF8(*corrected) && !HasControl(*corrected), "a corrected value is in order");
        Require(!AStringValidator::CreateCorrectedValue(*corrected), "there is nothing to correct twice");
    }
}
