#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// The encodings that text has in a job. Inside the program all text is UTF-8.
enum class TextEncoding
{
    kUTF8,
    kISOLatin1,
};

/// Whether the bytes are well-formed UTF-8 (RFC 3629: no overlong form, no surrogate, nothing above U+10FFFF).
[[nodiscard]] bool IsValidUTF8(std::string_view inBytes);

/// The bytes as they stand when they are UTF-8; otherwise all of them read as ISO Latin 1.
[[nodiscard]] std::string ReadAsUTF8(std::string_view inBytes);

/// Converts text for a buffer of inBufferSize bytes, the last of which is kept for a terminating NUL.
///
/// Fails as a whole, and then returns an empty text, when the input is not UTF-8, when one character has no form in the
/// encoding, or when the result needs more than inBufferSize - 1 bytes.
[[nodiscard]] std::string ConvertText(std::string_view inUTF8, TextEncoding inEncoding, std::size_t inBufferSize);

/// Repairs names that people typed or programs made up.
namespace AStringValidator
{

/// None when nothing is wrong with the value; otherwise a copy in which each control character (U+0000 to U+001F,
/// U+007F to U+009F) is a blank and each byte that belongs to no well-formed UTF-8 sequence is U+FFFD.
[[nodiscard]] std::optional<std::string> CreateCorrectedValue(std::string_view inValue);

} // namespace AStringValidator
