#include "Processors/ManualDuplexProcessor.h"

#include <algorithm>
#include <span>

#include "Imaging/GuideFile.h"
#include "Imaging/Logger.h"
#include "Imaging/NumberText.h"
#include "Imaging/PPDKeywords.h"
#include "Processors/PageSizes.h"

namespace
{

constexpr std::string_view kManualFeedOff = "<</ManualFeed false>> setpagedevice\n";

// The default matrix may change with the feed; what the page has set up is carried over.
constexpr std::string_view kNoteDefaultMatrix = R"(mark
/DefM matrix defaultmatrix def

)";
constexpr std::string_view kPrintOnBackside = "<</PrintOnBackside true>> setpagedevice";
constexpr std::string_view kManualFeedOn = R"(<</ManualFeed true>> setpagedevice

/DefM1 matrix defaultmatrix def

/DefT matrix def
DefM1 DefM matrix invertmatrix DefT concatmatrix
cleartomark
)";
constexpr std::string_view kCarryMatrixOver = "DefT concat\n";

constexpr unsigned kGuidePages = 2;                         ///< one a pass
constexpr std::string_view kUsedGuide = "recycledGuide.gz"; ///< the second one, on paper that needs no guide any more
constexpr std::size_t kMaxSecondSideCode = 255;
constexpr double kLetterWidth = 612;

constexpr ATask kTasks[] = {
    {"\\*VXManualDuplex", kBeforeLine, "Skip ManualDuplex code", kRegExp},
    {"\\*Duplex", kBeforeLine, "Skip duplex code", kRegExp},
    {"%%EndSetup", kAfterLine, "Turn off manual feed"},
    {"%%Page:", kAfterLine, "Process page"},
    {"%%Trailer", kAfterLine, "Process trailer"},
};

struct AEdgeName
{
    std::string_view fValue;
    AFeedEdge fEdge;
};

constexpr AEdgeName kPaperFeedEdges[] = {
    {"long", AFeedEdge::kLong},
    {"short", AFeedEdge::kShort},
    {"either", AFeedEdge::kEitherRightDown},
    {"eitherRightDown", AFeedEdge::kEitherRightDown},
    {"eitherLeftUp", AFeedEdge::kEitherLeftUp},
    {"eitherRightUp", AFeedEdge::kEitherRightUp},
    {"eitherLeftDown", AFeedEdge::kEitherLeftDown},
};
constexpr AEdgeName kLeadingEdges[] = {
    {"Short", AFeedEdge::kShort},
    {"Long", AFeedEdge::kLong},
    {"PreferLong", AFeedEdge::kPreferLong},
    {"Forced", AFeedEdge::kForced},
};

struct AGuideName
{
    AFeedEdge fEdge;
    std::string_view fTop; ///< for a printer that prints on the top side of a sheet
    std::string_view fBottom;
};

constexpr AGuideName kGuideNames[] = {
    {AFeedEdge::kShort, "shortDownGuide.gz", "shortUpGuide.gz"},
    {AFeedEdge::kLong, "longDownGuide.gz", "longUpGuide.gz"},
    {AFeedEdge::kEitherRightDown, "eitherRightDownTop.gz", "eitherRightDownBottom.gz"},
    {AFeedEdge::kEitherLeftUp, "eitherLeftUpTop.gz", "eitherLeftUpBottom.gz"},
    {AFeedEdge::kEitherRightUp, "eitherRightUpTop.gz", "eitherRightUpBottom.gz"},
    {AFeedEdge::kEitherLeftDown, "eitherLeftDownTop.gz", "eitherLeftDownBottom.gz"},
};

AFeedEdge FindEdge(std::span<const AEdgeName> inNames, AOptionValue inValue)
{
    const auto found =
        std::ranges::find_if(inNames, [&](const auto& inName) { return IsOption(inValue, inName.fValue); });
    return found != inNames.end() ? found->fEdge : AFeedEdge::kUnset;
}

} // namespace

AFeedEdge ResolveFeedEdge(AFeedEdge inEdge, const APageSizeRecord& inPaper, double inMaxWidth)
{
    switch (inEdge)
    {
    case AFeedEdge::kPreferLong:
        return inPaper.fWidth < inPaper.fLength && static_cast<double>(inPaper.fLength) <= inMaxWidth
                   ? AFeedEdge::kLong
                   : AFeedEdge::kShort;
    case AFeedEdge::kUnset:
    case AFeedEdge::kForced:
        return AFeedEdge::kShort;
    default:
        return inEdge;
    }
}

AManualDuplexProcessor::AManualDuplexProcessor(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    if (IsApplicable())
    {
        Initialize();
        RegisterTasks(kTasks);
    }
}

void AManualDuplexProcessor::Initialize()
{
    CheckPageSize();
    CheckTurning();
    fPrintGuide = IsOption(GetCUPSOption("VXManualDuplexPrintGuide"), kTrueValue);
    fTotalPages = GetPagesManager().GetFinalNumberOfPages() + (fPrintGuide ? kGuidePages : 0);
    if (const AOptionValue code = GetCUPSOption("SecondSideCode"))
    {
        fSecondSideCode = code->substr(0, kMaxSecondSideCode);
    }
    const AOptionValue condition = GetCUPSOption("GuidePageExtraTumble");
    if (condition && !IsOption(condition, kFalseValue))
    {
        fTumbleCondition = IsOption(condition, kTrueValue) ? "true" : *condition;
    }
    if (fPrintGuide)
    {
        FormGuidePageName();
    }
}

void AManualDuplexProcessor::CheckPageSize()
{
    const ASettingsStore& settings = GetSettingsStore();
    const AOptionValue name = settings.fBooklet ? AOptionValue(settings.fBookletPaperSize) : GetCUPSOption("media");
    fCustomSize = !settings.fBooklet && name && name->find("Custom") != std::string_view::npos;
    const auto size = FindPageSize(name);
    fPageSize = size ? *size : GetUsualPageSize();
}

/// Bound at the short edge, or face up, the backs of the stack lie as the fronts do; the option says that the paper
/// path does it the other way.
void AManualDuplexProcessor::CheckTurning()
{
    const ASettingsStore& settings = GetSettingsStore();
    const bool isTumble = settings.fBooklet || IsOption(GetCUPSOption("VXManualDuplexOrientation"), "DuplexTumble");
    const bool isLongEdge = isTumble != settings.fFaceDownOutput;
    const bool tumblesFirstSides = !IsOption(GetCUPSOption("TumbleFirstSides"), kFalseValue);
    fTurnsFirstPass = isLongEdge == tumblesFirstSides;
}

void AManualDuplexProcessor::FormGuidePageName()
{
    const AFeedEdge feed = GetPaperFeed();
    const auto* const found = std::ranges::find(kGuideNames, feed, &AGuideName::fEdge);
    fGuideFileName = GetSettingsStore().fPrintOnBottom ? found->fBottom : found->fTop;
}

AFeedEdge AManualDuplexProcessor::GetPaperFeed() const
{
    AFeedEdge edge = FindEdge(kPaperFeedEdges, GetCUPSOption("PaperFeedEdge"));
    if (edge == AFeedEdge::kUnset)
    {
        edge = FindEdge(kLeadingEdges, GetCUPSOption("LeadingEdge", true));
    }
    return ResolveFeedEdge(edge, fPageSize, GetMaxMediaWidth());
}

/// Only the width decides how the paper is fed.
double AManualDuplexProcessor::GetMaxMediaWidth() const
{
    const APPDFile* const ppd = GetSettingsStore().GetPPDFile();
    double width = ReadLeadingNumber(GetCUPSOption("MaxMediaWidth", true).value_or(""));
    if (width == 0 && ppd != nullptr)
    {
        width = static_cast<double>(ppd->GetLargestPageSize().fWidth);
    }
    return width != 0 ? width : kLetterWidth;
}

LineProcessStatus AManualDuplexProcessor::ProcessLine(APostScriptLineInfo& ioLine)
{
    if (ioLine.GetLineOrder() == kBeforeLine)
    {
        return DropDuplexFeature(ioLine);
    }
    if (ioLine.Holds("%%EndSetup"))
    {
        TurnOffManualFeed();
    }
    else if (ioLine.Holds("%%Page:"))
    {
        ProcessPage(ioLine);
    }
    else if (ioLine.Holds("%%Trailer"))
    {
        StateNumberOfPages();
    }
    return kLineProcessUnchanged;
}

/// The features of manual duplex itself too; each of them also ends the search for the job's own.
LineProcessStatus AManualDuplexProcessor::DropDuplexFeature(const APostScriptLineInfo& inLine)
{
    if (!BeginsFeature(inLine))
    {
        return kLineProcessUnchanged;
    }
    SkipCurrentFeature();
    CompleteTask("\\*Duplex");
    return kLineProcessSkip;
}

void AManualDuplexProcessor::TurnOffManualFeed()
{
    WriteData(kSaveMatrix);
    WriteData(kManualFeedOff);
    WriteData(kRestoreMatrix);
    WriteData("\n");
    CompleteTask("%%EndSetup");
}

void AManualDuplexProcessor::ProcessPage(const APostScriptLineInfo& inLine)
{
    if (inLine.Holds("(reinsertion)"))
    {
        InjectGuide();
    }
    else
    {
        InjectPageData();
    }
}

void AManualDuplexProcessor::StateNumberOfPages()
{
    WriteData("%%Pages: " + std::to_string(fTotalPages) + "\n");
    CompleteTask("%%Page:");
    CompleteTask("%%Trailer");
}

void AManualDuplexProcessor::InjectPageData()
{
    ++fPageCounter;
    if (IsStartOfSecondPass())
    {
        InjectManualFeed();
    }
    if (IsFirstPass() && fTurnsFirstPass)
    {
        LoggerLogMessage(kLogTrace, "Rotating page");
        WriteData(MakeRotation());
    }
}

void AManualDuplexProcessor::InjectGuide()
{
    if (!fPrintGuide)
    {
        return;
    }
    LoggerLogMessage(kLogTrace, "Inject guide\n");
    ++fPageCounter;
    ReadGuideFile(IsFirstPass() ? fGuideFileName : kUsedGuide);
}

void AManualDuplexProcessor::ReadGuideFile(std::string_view inName)
{
    if (IsStartOfSecondPass())
    {
        InjectManualFeed();
    }
    AGuideFile guide(inName);
    if (!guide.IsOpen())
    {
        return;
    }
    RotateGuide();
    std::string line;
    while (guide.ReadLine(line))
    {
        WriteData(line);
    }
    WriteData("%%EOF\n");
}

void AManualDuplexProcessor::RotateGuide()
{
    const bool isStraight = GetSettingsStore().fRotate180 == GetSettingsStore().fFaceDownOutput;
    if (!fTumbleCondition && !isStraight)
    {
        WriteData(MakeRotation());
    }
    else if (fTumbleCondition && isStraight)
    {
        WriteData(*fTumbleCondition + "{\n" + MakeRotation() + "}{}ifelse\n");
    }
    if (fCustomSize && fPageSize.fLength < fPageSize.fWidth)
    {
        WriteData(WriteFixed(static_cast<double>(fPageSize.fWidth), 1) + " 0 translate 90 rotate\n");
    }
}

void AManualDuplexProcessor::InjectManualFeed()
{
    LoggerLogMessage(kLogTrace, "Inject Manual Feed\n");
    WriteData(kSaveMatrix);
    WriteData(kNoteDefaultMatrix);
    WriteData(fSecondSideCode ? std::string_view(*fSecondSideCode) : kPrintOnBackside);
    WriteData("\n");
    WriteData(kManualFeedOn);
    WriteData(kRestoreMatrix);
    WriteData(kCarryMatrixOver);
}

std::string AManualDuplexProcessor::MakeRotation() const
{
    return WriteFixed(static_cast<double>(fPageSize.fWidth), 1) + " " +
           WriteFixed(static_cast<double>(fPageSize.fLength), 1) + " translate 180 rotate\n";
}
