#include "Imaging/OptionCoding.h"

#include <charconv>
#include <cstddef>

namespace
{

constexpr std::size_t kCodeLength = 3; // "%41"

/// The byte that the text opens with in coded form, or -1.
int ReadCodedByte(std::string_view inText)
{
    if (inText.size() < kCodeLength || inText.front() != '%')
    {
        return -1;
    }
    unsigned char byte = 0;
    const char* const end = inText.data() + kCodeLength;
    return std::from_chars(inText.data() + 1, end, byte, 16).ptr == end ? byte : -1;
}

} // namespace

std::string CreateDecodedCString(std::string_view inValue)
{
    std::string decoded;
    while (!inValue.empty())
    {
        const int coded = ReadCodedByte(inValue);
        const char byte = coded < 0 ? inValue.front() : static_cast<char>(coded);
        if (byte == '\0')
        {
            break;
        }
        decoded += byte;
        inValue.remove_prefix(coded < 0 ? 1 : kCodeLength);
    }
    return decoded;
}
