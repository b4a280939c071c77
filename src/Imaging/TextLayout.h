#pragma once

#include <optional>
#include <string>

#include "Imaging/TextLine.h"

/// Sets a text of any length on one line, unhinted, with the scripts joined, ordered and with marks placed as they are
/// written, and with other fonts for characters that the asked font lacks.
///
/// inText is UTF-8 without NUL. inFont is a font name with style and size in points: "Helvetica Bold 48"; a name that
/// no font has stands for the most similar one.
///
/// The libraries that do this are loaded when a text is first laid out. Returns none, and logs why, when they are
/// missing or no font is installed.
[[nodiscard]] std::optional<ATextLine> LayOutText(const std::string& inText, const std::string& inFont);
