#include <cmath>

#include "FuzzSupport.h"
#include "Imaging/PPDInfo.h"

namespace
{

void AskInfo(const APPDInfo& inInfo, std::string_view inKeyword, std::string_view inChoice)
{
    for (unsigned bit = 1; bit <= 1024; bit *= 2)
    {
        static_cast<void>(inInfo.IsFeatureSupported(bit));
    }
    const auto value = inInfo.GetValue(inKeyword);
    Require(!value || (!value->empty() && inInfo.IsFeatureSupported(inKeyword)), "a value belongs to a keyword");
    static_cast<void>(inInfo.GetDefaultValue(inKeyword));
    static_cast<void>(inInfo.GetNumericValue(inKeyword));
    static_cast<void>(inInfo.IsVeldraPrinter());
    static_cast<void>(inInfo.GetPaperMargins(inChoice));
    Require(inInfo.GetEntries(inKeyword).empty() || inInfo.IsFeatureSupported(inKeyword), "entries have a keyword");
    const auto code = inInfo.GetInvocationCode(inKeyword, inChoice);
    Require(!code || !code->empty(), "an empty code is no code");
}

void AskFile(const APPDFile& inFile, std::string_view inKeyword, std::string_view inChoice)
{
    const auto size = inFile.FindPageSize(inChoice);
    Require(!size || (std::isfinite(size->fWidth) && std::isfinite(size->fLength)), "a page size is finite");
    Require(!inFile.IsChoiceAvailable(inKeyword, inChoice) || inFile.HasOption(inKeyword), "choices have an option");
    static_cast<void>(inFile.GetCustomLimits());
    static_cast<void>(inFile.GetLargestPageSize());
    static_cast<void>(inFile.GetDefaultPageSizeName());
    static_cast<void>(inFile.GetPageSizeCode(inChoice));
}

} // namespace

/// The first two lines are the keyword and the choice that are asked for, the rest is the printer description.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize)
{
    std::string_view rest = AsText(inData, inSize);
    const std::string_view keyword = TakeUpTo(rest, "\n");
    const std::string_view choice = TakeUpTo(rest, "\n");
    const AMemoryFile description(rest);
    if (const auto file = APPDFile::Open(description.GetPath().c_str()))
    {
        AskFile(*file, keyword, choice);
        AskInfo(APPDInfo(file), keyword, choice);
    }
    return 0;
}
