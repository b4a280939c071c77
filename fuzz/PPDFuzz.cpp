#include <cmath>

#include "FuzzSupport.h"
#include "Imaging/PPDInfo.h"

namespace
{

/// The answers alone tell nothing; giving them is enough.
template <typename... Answers>
void Ask(const Answers&...)
{
}

void AskInfo(const APPDInfo& inInfo, std::string_view inKeyword, std::string_view inChoice)
{
    for (unsigned bit = 1; bit <= 1024; bit *= 2)
    {
        Ask(inInfo.IsFeatureSupported(bit));
    }
    Ask(inInfo.GetDefaultValue(inKeyword), inInfo.GetNumericValue(inKeyword), inInfo.IsVeldraPrinter(),
        inInfo.GetPaperMargins(inChoice));
    const auto value = inInfo.GetValue(inKeyword);
    Require(!value || (!value->empty() && inInfo.IsFeatureSupported(inKeyword)), "a value belongs to a keyword");
    Require(inInfo.GetEntries(inKeyword).empty() || inInfo.IsFeatureSupported(inKeyword), "entries have a keyword");
    Require(inInfo.GetInvocationCode(inKeyword, inChoice) != "", "an empty code is no code");
}

void AskFile(const APPDFile& inFile, std::string_view inKeyword, std::string_view inChoice)
{
    Ask(inFile.GetCustomLimits(), inFile.GetLargestPageSize(), inFile.GetDefaultPageSizeName(),
        inFile.GetPageSizeCode(inChoice));
    const auto size = inFile.FindPageSize(inChoice);
    Require(!size || (std::isfinite(size->fWidth) && std::isfinite(size->fLength)), "a page size is finite");
    Require(!inFile.IsChoiceAvailable(inKeyword, inChoice) || inFile.HasOption(inKeyword), "choices have an option");
}

} // namespace

/// The first two lines are the keyword and the choice that are asked for, the rest is the printer description.
void Fuzz(std::string_view inInput)
{
    std::string_view rest = inInput;
    const std::string_view keyword = TakeUpTo(rest, "\n");
    const std::string_view choice = TakeUpTo(rest, "\n");
    const AMemoryFile description(rest);
    if (const auto file = APPDFile::Open(description.GetPath().c_str()))
    {
        AskFile(*file, keyword, choice);
        AskInfo(APPDInfo(file), keyword, choice);
    }
}
