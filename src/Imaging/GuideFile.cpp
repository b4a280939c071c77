#include "Imaging/GuideFile.h"

#include <array>

#include <zlib.h>

#include "Imaging/Resources.h"

namespace
{

constexpr std::string_view kMakersFolder = "/Library/Printers/vx/filter/Guides/";

} // namespace

void AGuideFile::ACloser::operator()(gzFile_s* inFile) const
{
    gzclose(inFile);
}

AGuideFile::AGuideFile(std::string_view inName)
{
    Open(std::string(kMakersFolder).append(inName));
    if (!IsOpen())
    {
        Open((GetResourceFolder() + "/guides/").append(inName));
    }
}

void AGuideFile::Open(const std::string& inPath)
{
    fFile.reset(gzopen(inPath.c_str(), "rb"));
}

bool AGuideFile::ReadLine(std::string& outLine)
{
    std::array<char, 8192> line{};
    if (gzgets(fFile.get(), line.data(), line.size()) == nullptr)
    {
        return false;
    }
    outLine = line.data();
    return true;
}
