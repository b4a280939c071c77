#include "Imaging/PPDFile.h"

#include "Imaging/TextComparison.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cups/ppd.h>
#include <span>

// libcups declares its whole PPD interface deprecated, yet the CUPS of the platform describes its queues with it.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace
{

constexpr const char* kPageSizeOption = "PageSize";
constexpr const char* kCustomSizeName = "Custom";

/// What ppdPageSize answers, copied. For "Custom.WxH" libcups writes into the record of the size "Custom", which is put
/// back, so that no answer depends on an earlier question.
std::optional<APageSizeRecord> LookUpPageSize(ppd_file_t* inFile, const std::string& inName)
{
    ppd_size_t* const custom = ppdPageSize(inFile, kCustomSizeName);
    const ppd_size_t customBefore = custom != nullptr ? *custom : ppd_size_t{};
    std::optional<APageSizeRecord> record;
    if (const ppd_size_t* const size = ppdPageSize(inFile, inName.c_str()))
    {
        record =
            APageSizeRecord{size->name, size->width, size->length, size->left, size->bottom, size->right, size->top};
    }
    if (custom != nullptr)
    {
        *custom = customBefore;
    }
    return record;
}

bool IsFinite(const APageSizeRecord& inSize)
{
    const std::array sides = {inSize.fWidth, inSize.fLength, inSize.fLeft, inSize.fBottom, inSize.fRight, inSize.fTop};
    return std::all_of(sides.begin(), sides.end(), [](float inSide) { return std::isfinite(inSide); });
}

/// Takes a positive decimal number from the front of a text, or returns 0.
double TakeLength(std::string_view& ioText)
{
    double length = 0;
    const auto result = std::from_chars(ioText.data(), ioText.data() + ioText.size(), length, std::chars_format::fixed);
    ioText.remove_prefix(static_cast<std::size_t>(result.ptr - ioText.data()));
    return result.ec == std::errc() && std::isfinite(length) && length > 0 ? length : 0;
}

struct ADimensions
{
    double fWidth;
    double fLength;
};

/// The dimensions, in points, that a PWG self-describing name "CLASS_SIZE_WIDTHxLENGTHin" or "...mm" ends with.
std::optional<ADimensions> ReadSelfDescribingName(std::string_view inName)
{
    const std::size_t mark = inName.rfind('_');
    if (mark == std::string_view::npos || inName.find('_') == mark)
    {
        return std::nullopt;
    }
    std::string_view text = inName.substr(mark + 1);
    const double width = TakeLength(text);
    if (!text.starts_with('x'))
    {
        return std::nullopt;
    }
    text.remove_prefix(1);
    const double length = TakeLength(text);
    if (width == 0 || length == 0 || (text != "in" && text != "mm"))
    {
        return std::nullopt;
    }
    const double unit = text == "in" ? 72.0 : 72.0 / 25.4;
    return ADimensions{width * unit, length * unit};
}

/// The value up to its first comma; moves past both.
std::string_view TakePart(std::string_view& ioList)
{
    const std::string_view part = ioList.substr(0, ioList.find(','));
    ioList.remove_prefix(std::min(part.size() + 1, ioList.size()));
    return part;
}

ppd_option_t* FindOption(ppd_file_t* inFile, std::string_view inKeyword)
{
    return ppdFindOption(inFile, std::string(inKeyword).c_str());
}

std::span<const ppd_choice_t> ListChoices(const ppd_option_t* inOption)
{
    return inOption == nullptr
               ? std::span<const ppd_choice_t>()
               : std::span<const ppd_choice_t>(inOption->choices, static_cast<std::size_t>(inOption->num_choices));
}

} // namespace

void APPDFile::ACloser::operator()(ppd_file_s* inFile) const
{
    ppdClose(inFile);
}

std::shared_ptr<const APPDFile> APPDFile::Open(const char* inPath)
{
    // The queue's description and the one in the environment are mostly the same file.
    static std::weak_ptr<const APPDFile> lastOpened;
    static std::string lastPath;
    const std::string path = inPath == nullptr ? "" : inPath;
    if (auto opened = lastOpened.lock(); opened != nullptr && path == lastPath)
    {
        return opened;
    }
    AHandle file(path.empty() ? nullptr : ppdOpenFile(path.c_str()));
    if (file == nullptr)
    {
        return nullptr;
    }
    ppdMarkDefaults(file.get());
    auto opened = std::make_shared<const APPDFile>(std::move(file));
    lastOpened = opened;
    lastPath = path;
    return opened;
}

std::optional<APageSizeRecord> APPDFile::FindPageSize(std::string_view inMediaName) const
{
    if (auto size = FindNamedPageSize(inMediaName))
    {
        return size;
    }
    for (std::string_view rest = inMediaName; !rest.empty();)
    {
        if (auto size = FindNamedPageSize(TakePart(rest)))
        {
            return size;
        }
    }
    for (std::string_view rest = inMediaName; !rest.empty();)
    {
        if (auto size = FindSelfDescribedPageSize(TakePart(rest)))
        {
            return size;
        }
    }
    return std::nullopt;
}

/// A size without a name or without finite dimensions is none: nobody could choose or print it.
std::optional<APageSizeRecord> APPDFile::FindNamedPageSize(std::string_view inName) const
{
    if (inName.empty())
    {
        return std::nullopt;
    }
    std::optional<APageSizeRecord> size = LookUpPageSize(fFile.get(), std::string(inName));
    return size && IsFinite(*size) ? size : std::nullopt;
}

std::optional<APageSizeRecord> APPDFile::FindSelfDescribedPageSize(std::string_view inName) const
{
    constexpr double kTolerance = 5;
    const std::optional<ADimensions> wanted = ReadSelfDescribingName(inName);
    std::optional<APageSizeRecord> best;
    double bestDifference = 0;
    if (!wanted)
    {
        return best;
    }
    for (const ppd_size_t& size : std::span(fFile->sizes, static_cast<std::size_t>(fFile->num_sizes)))
    {
        const double width = std::abs(static_cast<double>(size.width) - wanted->fWidth);
        const double length = std::abs(static_cast<double>(size.length) - wanted->fLength);
        // Written so that a size that is no number is out too.
        const bool isNear = width <= kTolerance && length <= kTolerance;
        if (isNear && (!best || width + length < bestDifference) && !EqualWithoutCase(size.name, kCustomSizeName))
        {
            best = FindNamedPageSize(size.name);
            bestDifference = width + length;
        }
    }
    return best;
}

std::optional<std::string> APPDFile::GetPageSizeCode(std::string_view inName) const
{
    return GetChoiceCode(kPageSizeOption, inName);
}

ACustomLimits APPDFile::GetCustomLimits() const
{
    return {fFile->custom_min[0], fFile->custom_min[1], fFile->custom_max[0], fFile->custom_max[1]};
}

APageExtent APPDFile::GetLargestPageSize() const
{
    APageExtent largest;
    for (const ppd_choice_t& choice : ListChoices(FindOption(fFile.get(), kPageSizeOption)))
    {
        const auto size =
            EqualWithoutCase(choice.choice, kCustomSizeName) ? std::nullopt : FindNamedPageSize(choice.choice);
        if (size)
        {
            largest.fWidth = std::max(largest.fWidth, size->fWidth);
            largest.fLength = std::max(largest.fLength, size->fLength);
        }
    }
    return largest;
}

std::optional<std::string> APPDFile::GetDefaultPageSizeName() const
{
    const std::vector<AAttribute> defaults = GetAttributes("DefaultPageSize");
    return defaults.empty() || defaults.front().fValue.empty() ? std::nullopt : std::optional(defaults.front().fValue);
}

bool APPDFile::HasOption(std::string_view inKeyword) const
{
    return FindOption(fFile.get(), inKeyword) != nullptr;
}

bool APPDFile::HasAttribute(std::string_view inKeyword) const
{
    return ppdFindAttr(fFile.get(), std::string(inKeyword).c_str(), nullptr) != nullptr;
}

std::vector<std::string> APPDFile::GetChoices(std::string_view inKeyword) const
{
    std::vector<std::string> names;
    for (const ppd_choice_t& choice : ListChoices(FindOption(fFile.get(), inKeyword)))
    {
        names.emplace_back(choice.choice);
    }
    return names;
}

std::optional<std::string> APPDFile::GetChoiceCode(std::string_view inKeyword, std::string_view inChoice) const
{
    const ppd_choice_t* const choice = ppdFindChoice(FindOption(fFile.get(), inKeyword), std::string(inChoice).c_str());
    const bool hasCode = choice != nullptr && choice->code != nullptr && *choice->code != '\0';
    return hasCode ? std::optional<std::string>(choice->code) : std::nullopt;
}

bool APPDFile::IsChoiceAvailable(std::string_view inKeyword, std::string_view inChoice) const
{
    const std::string keyword(inKeyword);
    const std::string choice(inChoice);
    return ppdFindChoice(FindOption(fFile.get(), keyword), choice.c_str()) != nullptr &&
           ppdInstallableConflict(fFile.get(), keyword.c_str(), choice.c_str()) == 0;
}

std::vector<APPDFile::AAttribute> APPDFile::GetAttributes(std::string_view inKeyword) const
{
    const std::string keyword(inKeyword);
    std::vector<AAttribute> attributes;
    for (const ppd_attr_t* attribute = ppdFindAttr(fFile.get(), keyword.c_str(), nullptr); attribute != nullptr;
         attribute = ppdFindNextAttr(fFile.get(), keyword.c_str(), nullptr))
    {
        attributes.push_back({attribute->spec, attribute->value != nullptr ? attribute->value : ""});
    }
    return attributes;
}
