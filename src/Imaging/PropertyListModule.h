#pragma once

#include <string>

#include "Imaging/TextDictionary.h"

// What the program and the module that reads property lists agree on. Both come from one build.

inline constexpr const char* kPropertyListModule = "vxpropertylist.so";
inline constexpr const char* kPropertyListFunction = "VXReadPropertyList";

/// The entries of the dictionary at the top.
struct APropertyList
{
    ATextDictionary fTexts;
    ATextDictionaries fDictionaries;
};

/// False when the file cannot be read or is no property list with a dictionary at its top.
using APropertyListFunction = bool(const std::string& inPath, APropertyList& outList) noexcept;
