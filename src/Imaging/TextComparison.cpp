#include "Imaging/TextComparison.h"

#include <algorithm>

namespace
{

constexpr char ToLower(char inByte)
{
    return inByte >= 'A' && inByte <= 'Z' ? static_cast<char>(inByte - 'A' + 'a') : inByte;
}

constexpr bool IsSameLetter(char inLeft, char inRight)
{
    return ToLower(inLeft) == ToLower(inRight);
}

} // namespace

bool EqualWithoutCase(std::string_view inLeft, std::string_view inRight)
{
    return std::equal(inLeft.begin(), inLeft.end(), inRight.begin(), inRight.end(), IsSameLetter);
}

bool StartsWithWithoutCase(std::string_view inText, std::string_view inPrefix)
{
    return EqualWithoutCase(inText.substr(0, inPrefix.size()), inPrefix);
}

bool ContainsWithoutCase(std::string_view inText, std::string_view inPart)
{
    return inPart.empty() ||
           std::search(inText.begin(), inText.end(), inPart.begin(), inPart.end(), IsSameLetter) != inText.end();
}
