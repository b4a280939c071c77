#pragma once

#include <optional>
#include <string>
#include <string_view>

// The controls of the colour adjustments: printer descriptions state a template of PostScript code and a default value
// for each, the job's options the user's value.

/// The template of a control's code; none when the printer states none.
[[nodiscard]] std::optional<std::string> GetControlTemplate(std::string_view inKey);

/// The user's value, else the printer's default.
[[nodiscard]] std::optional<std::string> GetControlValue(std::string_view inKey);

/// The code for the integer that the value begins with.
[[nodiscard]] std::string FormatControl(std::string_view inTemplate, std::string_view inValue);
