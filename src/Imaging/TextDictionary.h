#pragma once

#include <functional>
#include <map>
#include <string>

/// Texts by their keys, and such dictionaries by theirs.
using ATextDictionary = std::map<std::string, std::string, std::less<>>;
using ATextDictionaries = std::map<std::string, ATextDictionary, std::less<>>;
