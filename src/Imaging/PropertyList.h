#pragma once

#include <optional>
#include <string>

#include "Imaging/TextDictionary.h"

// Property lists in their XML form (Apple PropertyList-1.0.dtd). Entries of another type than the one that is read are
// left out. None: the file cannot be read or is no property list with a dictionary at its top.

/// A dictionary of texts.
[[nodiscard]] std::optional<ATextDictionary> ReadTextDictionary(const std::string& inPath);

/// A dictionary of dictionaries of texts.
[[nodiscard]] std::optional<ATextDictionaries> ReadTextDictionaries(const std::string& inPath);
