#pragma once

#include <string_view>

// Comparison without regard to the case of the letters A to Z. No locale has a say; every other byte is itself.

[[nodiscard]] bool EqualWithoutCase(std::string_view inLeft, std::string_view inRight);

[[nodiscard]] bool StartsWithWithoutCase(std::string_view inText, std::string_view inPrefix);

[[nodiscard]] bool ContainsWithoutCase(std::string_view inText, std::string_view inPart);
