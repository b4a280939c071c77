#include <cmath>
#include <tuple>

#include "FuzzSupport.h"
#include "Imaging/PPDInfo.h"

/// The first two lines are the keyword and the choice that are asked for, the rest is the printer description.
void Fuzz(std::string_view inInput)
{
    std::string_view rest = inInput;
    const std::string_view keyword = TakeUpTo(rest, "\n");
    const std::string_view choice = TakeUpTo(rest, "\n");
    const AMemoryFile description(rest);
    const auto file = APPDFile::Open(description.GetPath().c_str());
    if (file == nullptr)
    {
        return;
    }
    const APPDInfo info(file);
    for (unsigned bit = 1; bit <= 1024; bit *= 2)
    {
        std::ignore = info.IsFeatureSupported(bit);
    }
    // The answers alone tell nothing; giving them is enough.
    std::ignore = std::tuple(info.GetDefaultValue(keyword), info.GetNumericValue(keyword), info.IsVeldraPrinter(),
                             info.GetPaperMargins(choice), file->GetCustomLimits(), file->GetLargestPageSize(),
                             file->GetDefaultPageSizeName(), file->GetPageSizeCode(choice));
    const auto value = info.GetValue(keyword);
    Require(!value || (!value->empty() && info.IsFeatureSupported(keyword)), "a value belongs to a keyword");
    Require(info.GetEntries(keyword).empty() || info.IsFeatureSupported(keyword), "entries have a keyword");
    Require(info.GetInvocationCode(keyword, choice) != "", "an empty code is no code");
    const auto size = file->FindPageSize(choice);
    Require(!size || (std::isfinite(size->fWidth) && std::isfinite(size->fLength)), "a page size is finite");
    Require(!file->IsChoiceAvailable(keyword, choice) || file->HasOption(keyword), "choices have an option");
}
