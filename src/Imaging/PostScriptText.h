#pragma once

#include <optional>
#include <string>
#include <string_view>

/// Text as PostScript and its structuring comments hold it (Adobe PLRM 3, DSC 3.0).
namespace PSF
{

/// The text as it stands inside PostScript parentheses, without these: `(`, `)` and `\` get a backslash in front, bytes
/// below 0x20 and 0x7F become `\ooo` (three octal digits), every other byte stays, UTF-8 too.
[[nodiscard]] std::string CreateFormatedString(std::string_view inText);

/// The name of a feature as "%%BeginFeature: *" announces it: keyword, a blank, option; the keyword alone when the
/// option is empty. Each control character is a blank, so that the name stays on its line.
[[nodiscard]] std::string CreateStandardFeatureName(std::string_view inKeyword, std::string_view inOption);

/// What a page comment says about its page.
struct APageInfo
{
    std::string_view fLabel; ///< with its parentheses, when it has them; points into the line it was read from
    int fOrdinal = 0;        ///< 0 or more; 1 for the first page of a well-formed document
};

/// Reads the first "%%Page: LABEL ORDINAL" of a line, which is seen up to its first NUL.
///
/// Blanks are space and tab; none is needed in front of the label. The label is a balanced PostScript string or a run
/// of bytes that are no blanks. The ordinal is a run of digits without sign; what comes after them is ignored. Returns
/// none without a label or an ordinal ("%%Page: ? ?"), when a label's parenthesis never closes, or when the ordinal
/// needs more than 32 bits signed.
[[nodiscard]] std::optional<APageInfo> GetPageInfoFromPSPageInvocation(std::string_view inLine);

} // namespace PSF
