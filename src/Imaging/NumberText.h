#pragma once

#include <string>
#include <string_view>

/// The decimal integer that a text begins with: white space, a sign and digits, as strtol(3) takes them in base 10. 0
/// without digits; the nearest limit when it does not fit.
[[nodiscard]] long long ReadLeadingInteger(std::string_view inText);

/// The decimal number that a text begins with: white space, a sign, digits with a point and an exponent. No locale
/// changes the point, and neither hexadecimal digits nor "inf" or "nan" are numbers. 0 without digits and for a number
/// beyond the range of double.
[[nodiscard]] double ReadLeadingNumber(std::string_view inText);

/// The number with inDecimals digits (at most 20) behind its point, rounded as printf(3) rounds `%.Nf`. No locale
/// changes the point, and a number that rounds to zero has no sign.
[[nodiscard]] std::string WriteFixed(double inValue, int inDecimals);

/// Appends a finite number as `%f` prints it: six decimals. No locale changes the point.
void AppendNumber(std::string& ioText, float inValue);
