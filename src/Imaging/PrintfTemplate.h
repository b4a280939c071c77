#pragma once

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <variant>

/// One value that a template may ask for.
using ATemplateArgument = std::variant<long long, double, std::string>;

/// Fills a printf format that comes from outside the program (a PPD, a job). Whatever the template holds is safe, and
/// no locale changes the result: numbers have a point and no grouping.
///
/// Understood are `%d %i %u %x %c %s %f %F %e %E %g %G` with the flags of printf(3), a width, a precision and length
/// modifiers, and `%%`. Widths and precisions above 255 are 255. Arguments are taken in order; what is left over is
/// ignored. A conversion without an argument, and `%n`, `%p`, a `*` or anything else unknown, is copied as it stands
/// without taking an argument; a stray `%` never swallows the conversion after it.
///
/// A conversion gets its argument as what it wants:
/// - an integer: a double is truncated (towards the nearest limit when it does not fit, 0 for NaN), a text gives the
///   decimal integer that it begins with, else 0. `%d` prints the whole value, also outside `int`; `%u` and `%x` show a
///   negative value in the 32 bits of an `unsigned` unless it needs more or a modifier says so; `hh` and `h` narrow as
///   in C;
/// - a floating point number: a text gives the decimal number that it begins with; 0 for none or one beyond `double`;
/// - a character: of a text the first byte (nothing when it is empty), of a number the byte of that value;
/// - a text: an integer as `%d`, a double as `%f` prints it; a text may hold NULs.
[[nodiscard]] std::string FormatTemplate(std::string_view inTemplate, std::span<const ATemplateArgument> inArguments);

[[nodiscard]] std::string FormatTemplate(std::string_view inTemplate,
                                         std::initializer_list<ATemplateArgument> inArguments);
