#include "Processors/CustomPageSizeProcessor.h"

#include <algorithm>
#include <utility>

#include "Imaging/Logger.h"
#include "Imaging/NumberText.h"
#include "Imaging/TextComparison.h"

namespace
{

constexpr std::string_view kPrefix = "Custom.";
constexpr std::string_view kLetterSize = "Custom.612.00x792.00";
constexpr std::size_t kNumberSize = 8; ///< characters of a number that the printer takes
constexpr std::string_view kOldModels[] = {"7300vq", "7100vq", "900vq"};

/// Comments and drawing lines that merely mention the size.
constexpr std::string_view kMentions[] = {"%%DocumentMedia:",    "%ADO_ImageableArea:", "/mT", "%%BoundingBox:",
                                          "%%HiResBoundingBox:", "%%CropBox:",          "gS",  "li"};

constexpr ATask kTasks[] = {
    {"PageSize", kAfterLine, "Insert page size code"},
    {"PageRegion", kAfterLine, "Check for page size presence"},
};
constexpr const char* kOldPrinterTask = "Process old veldra";

ACustomSize MakeSize(std::string_view inWidth, std::string_view inHeight, std::string_view inMediaSize)
{
    const std::string callWidth(inWidth.substr(0, kNumberSize));
    const std::string callHeight(inHeight.substr(0, kNumberSize));
    ACustomSize size;
    size.fWidth = ReadLeadingNumber(inWidth);
    size.fHeight = ReadLeadingNumber(inHeight);
    size.fMediaSize = inMediaSize;
    size.fMediaSize[size.fMediaSize.find('x')] = ' ';
    size.fIntegerSize =
        std::to_string(ReadLeadingInteger(callWidth)) + " " + std::to_string(ReadLeadingInteger(callHeight));
    size.fPageSizeCall = callWidth + " " + callHeight + " 1 0 0";
    return size;
}

} // namespace

std::optional<ACustomSize> ACustomSize::Read(std::string_view inMedia)
{
    const std::string_view start = inMedia.substr(0, inMedia.find('x'));
    const std::size_t prefix = start.find(kPrefix);
    if (start.size() == inMedia.size() || prefix == std::string_view::npos ||
        inMedia.find(kLetterSize) != std::string_view::npos)
    {
        return std::nullopt;
    }
    const std::string_view width = start.substr(prefix + kPrefix.size());
    const std::string_view rest = inMedia.substr(start.size() + 1);
    const std::string_view height = rest.substr(0, rest.find('x'));
    if (width.empty() || height.empty())
    {
        return std::nullopt;
    }
    return MakeSize(width, height, inMedia.substr(kPrefix.size()));
}

ACustomPageSizeProcessor::ACustomPageSizeProcessor(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    if (!IsApplicable())
    {
        return;
    }
    Initialize();
    RegisterTasks(kTasks);
    if (fSize && fIsOldPrinter)
    {
        RegisterTask({fSize->fMediaSize, kAfterLine, kOldPrinterTask});
        RegisterTask({fSize->fIntegerSize, kAfterLine, kOldPrinterTask});
    }
}

bool ACustomPageSizeProcessor::IsApplicable() const
{
    return GetCUPSOption("media").value_or("").find("Custom") != std::string_view::npos;
}

void ACustomPageSizeProcessor::Initialize()
{
    fSize = ACustomSize::Read(GetCUPSOption("media").value_or(""));
    fIsOldPrinter = IsOldPrinter();
    if (fSize && !AreBoundsValid())
    {
        LoggerLogMessage(kLogTrace, "Custom page: bounds are invalid!\n");
    }
}

bool ACustomPageSizeProcessor::IsOldPrinter()
{
    const std::string_view product = GetCUPSOption("Product").value_or("");
    const bool isOldModel = std::ranges::any_of(kOldModels, [&](std::string_view inModel)
                                                { return ContainsWithoutCase(product, inModel); });
    return isOldModel && IsOption(GetCUPSOption("PPDVersion"), "1.0");
}

/// The limits are single-precision numbers, and a size just equal to one is within it.
bool ACustomPageSizeProcessor::AreBoundsValid() const
{
    const APPDFile* const ppd = GetSettingsStore().GetPPDFile();
    const ACustomLimits limits = ppd != nullptr ? ppd->GetCustomLimits() : ACustomLimits{};
    const auto width = static_cast<float>(fSize->fWidth);
    const auto height = static_cast<float>(fSize->fHeight);
    return width >= limits.fMinWidth && width <= limits.fMaxWidth && height >= limits.fMinHeight &&
           height <= limits.fMaxHeight;
}

LineProcessStatus ACustomPageSizeProcessor::ProcessLine(APostScriptLineInfo& ioLine)
{
    const bool isFeature = ioLine.Holds("*PageSize") || ioLine.Holds("*PageRegion");
    if (!isFeature && !StatesSize(ioLine))
    {
        return kLineProcessUnchanged;
    }
    if (!isFeature)
    {
        InsertPageSize();
    }
    CompleteTask("PageRegion");
    CompleteTask("PageSize");
    return kLineProcessUnchanged;
}

bool ACustomPageSizeProcessor::StatesSize(const APostScriptLineInfo& inLine) const
{
    const bool holdsSize = fSize && (inLine.Holds(fSize->fMediaSize) || inLine.Holds(fSize->fIntegerSize));
    return holdsSize &&
           std::ranges::none_of(kMentions, [&](std::string_view inText)
                                { return inLine.GetLine().GetVisibleText().find(inText) != std::string_view::npos; });
}

/// The line may match several tasks, and the job state its size several times.
void ACustomPageSizeProcessor::InsertPageSize()
{
    if (fIsOldPrinter && !std::exchange(fIsWritten, true))
    {
        WriteData(fSize->fPageSizeCall + "\n");
        CompleteTask(fSize->fMediaSize);
        CompleteTask(fSize->fIntegerSize);
    }
}
