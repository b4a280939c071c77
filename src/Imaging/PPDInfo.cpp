#include "Imaging/PPDInfo.h"

#include "Imaging/HostFacts.h"
#include "Imaging/NumberText.h"
#include "Imaging/TextComparison.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <limits>
#include <utility>

namespace
{

constexpr std::string_view kDefaultPrefix = "Default";

std::string GetServerRoot()
{
    const std::string_view root = GetEnvironment("CUPS_SERVERROOT");
    return std::string(root.empty() ? "/etc/cups" : root);
}

std::shared_ptr<const APPDFile> OpenQueueDescription(const std::string& inPrinterName)
{
    if (inPrinterName.find('/') != std::string::npos)
    {
        return nullptr;
    }
    return APPDFile::Open((GetServerRoot() + "/ppd/" + inPrinterName + ".ppd").c_str());
}

/// An empty value is none.
std::optional<std::string> MakeValue(std::string_view inValue)
{
    return inValue.empty() ? std::nullopt : std::optional<std::string>(inValue);
}

} // namespace

APPDInfo::APPDInfo(std::shared_ptr<const APPDFile> inFile) : fFile(std::move(inFile)) {}

std::unique_ptr<APPDInfo> APPDInfo::CreatePPDInfo(const std::string& inPrinterName)
{
    auto file = OpenQueueDescription(inPrinterName);
    // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks): it loses sight of the owner that the file moves into
    return file != nullptr ? std::make_unique<APPDInfo>(std::move(file)) : CreatePPDInfo(std::getenv("PPD"));
}

std::unique_ptr<APPDInfo> APPDInfo::CreatePPDInfo(const char* inPath)
{
    auto file = APPDFile::Open(inPath);
    return file != nullptr ? std::make_unique<APPDInfo>(std::move(file)) : nullptr;
}

bool APPDInfo::IsFeatureSupported(std::string_view inKeyword) const
{
    return fFile->HasOption(inKeyword) || fFile->HasAttribute(inKeyword);
}

bool APPDInfo::IsFeatureSupported(unsigned inFeatureBit) const
{
    switch (inFeatureBit)
    {
    case kStraightPaperPathFeature:
        return IsFeatureSupported("VXStraightPaperPath");
    case kWatermarksFeature:
        return IsFeatureSupported("VXwmrSwitch");
    case kBookletFeature:
        return IsFeatureSupported("VXBookletFilter");
    case kDuplexFeature:
    {
        const std::vector<std::string> choices = fFile->GetChoices("Duplex");
        return std::any_of(choices.begin(), choices.end(),
                           [](const std::string& inChoice) { return !EqualWithoutCase(inChoice, "None"); });
    }
    case kMarginsLayoutFeature:
        return IsFeatureSupported("VXMarginsLayoutMode");
    case kMirrorPrintFeature:
        return IsFeatureSupported("MirrorPrint");
    default:
        return false;
    }
}

std::optional<std::string> APPDInfo::GetDefaultValue(std::string_view inKeyword) const
{
    return GetValue(StartsWithWithoutCase(inKeyword, kDefaultPrefix) ? std::string(inKeyword)
                                                                     : std::string(kDefaultPrefix).append(inKeyword));
}

std::optional<std::string> APPDInfo::GetValue(std::string_view inKeyword) const
{
    const auto attributes = fFile->GetAttributes(inKeyword);
    return attributes.empty() ? std::nullopt : MakeValue(attributes.front().fValue);
}

std::optional<std::string> APPDInfo::GetInvocationCode(std::string_view inKeyword, std::string_view inChoice) const
{
    if (auto code = fFile->GetChoiceCode(inKeyword, inChoice))
    {
        return code;
    }
    for (const APPDFile::AAttribute& attribute : fFile->GetAttributes(inKeyword))
    {
        if (EqualWithoutCase(attribute.fSpec, inChoice))
        {
            return MakeValue(attribute.fValue);
        }
    }
    return std::nullopt;
}

std::vector<APPDFile::AAttribute> APPDInfo::GetEntries(std::string_view inKeyword) const
{
    return fFile->GetAttributes(inKeyword);
}

bool APPDInfo::IsChoiceAvailable(std::string_view inKeyword, std::string_view inChoice) const
{
    return fFile->IsChoiceAvailable(inKeyword, inChoice);
}

int APPDInfo::GetNumericValue(std::string_view inKeyword) const
{
    using Limits = std::numeric_limits<int>;
    for (const APPDFile::AAttribute& attribute : fFile->GetAttributes(inKeyword))
    {
        if (attribute.fSpec.empty())
        {
            const long long value = attribute.fValue.empty() ? -1 : ReadLeadingInteger(attribute.fValue);
            return static_cast<int>(std::clamp<long long>(value, Limits::min(), Limits::max()));
        }
    }
    return -1;
}

bool APPDInfo::IsVeldraPrinter() const
{
    constexpr std::array<std::string_view, 3> kNames = {"Product", "ModelName", "NickName"};
    return std::any_of(kNames.begin(), kNames.end(),
                       [this](std::string_view inKeyword)
                       {
                           const auto values = fFile->GetAttributes(inKeyword);
                           return std::any_of(values.begin(), values.end(),
                                              [](const APPDFile::AAttribute& inValue)
                                              { return ContainsWithoutCase(inValue.fValue, "Veldra"); });
                       });
}

std::optional<AMargins> APPDInfo::GetPaperMargins(std::string_view inMediaName) const
{
    const std::optional<APageSizeRecord> size = fFile->FindPageSize(inMediaName);
    if (!size)
    {
        return std::nullopt;
    }
    return AMargins{size->fLeft, size->fBottom, size->fWidth - size->fRight, size->fLength - size->fTop};
}
