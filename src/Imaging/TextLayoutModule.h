#pragma once

#include <string>

#include "Imaging/TextLine.h"

// What the program and the module that holds the text layout agree on. Both come from one build.

inline constexpr const char* kTextLayoutModule = "vxtextlayout.so";
inline constexpr const char* kTextLayoutFunction = "VXLayOutText";

/// See LayOutText. False when no font is installed.
using ATextLayoutFunction = bool(const std::string& inText, const std::string& inFont, ATextLine& outLine) noexcept;
