#pragma once

#include <string>

/// The text of a message in the user's language.
///
/// The table is Localizable/LANGUAGE.plist in the resource folder, chosen by the environment variable LANG:
/// "de_AT.UTF-8" takes the first of de_AT, de and en that there is. A key that the table does not know, or without any
/// table, is its own text.
[[nodiscard]] std::string CreateLocalizedString(const std::string& inKey);
