#include "Imaging/StatusLine.h"

#include "Imaging/DescriptorOutput.h"

#include <algorithm>
#include <string>

void WriteStatusLine(int inDescriptor, std::string_view inText)
{
    std::string line(inText.substr(0, inText.find_last_not_of("\r\n") + 1));
    std::replace_if(
        line.begin(), line.end(), [](char inByte) { return inByte == '\n' || inByte == '\r'; }, ' ');
    line += '\n';
    static_cast<void>(WriteWhole(inDescriptor, line));
}
