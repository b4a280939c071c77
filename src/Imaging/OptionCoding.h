#pragma once

#include <string>
#include <string_view>

/// Restores an option value that the print dialog stored percent-coded.
///
/// `%` and two hexadecimal digits become that byte; any other `%` stands for itself, and `+` stays `+`. Decoding stops
/// at a NUL, coded or not. A value without `%` decodes to itself.
[[nodiscard]] std::string CreateDecodedCString(std::string_view inValue);
