#include "Processors/OrientationProcessor.h"

#include <algorithm>
#include <array>

#include "Imaging/PPDKeywords.h"
#include "Imaging/PostScriptText.h"
#include "Imaging/TextComparison.h"

namespace
{

constexpr std::string_view kInsertOrientation = "VXInsertOrientation";
constexpr std::string_view kPortrait = "Portrait";

struct AOrientationRow
{
    std::string_view fOptionValue; ///< of the page orientation that the print dialog chose
    std::string_view fName;        ///< of the orientation in the printer description
};

/// A quarter turn leads from an even row to the next one and back.
constexpr std::array<AOrientationRow, 4> kOrientations = {{
    {kPortraitOrientationValueRef, kPortrait},
    {kLandscapeOrientationValueRef, "Landscape"},
    {kReversePortraitOrientationValueRef, "ReversePortrait"},
    {kReverseLandscapeOrientationValueRef, "ReverseLandscape"},
}};

constexpr ATask kSetupTasks[] = {
    {"%%BeginSetup", kAfterLine, "Inject orientation code"},
};
constexpr ATask kPagesTasks[] = {
    {"%%Page:", kAfterLine, "Process orienation in case of landscape (pages)"},
};

/// The name of the orientation that the option asks for, turned a quarter when inIsTurned; none for an unknown value.
std::optional<std::string_view> FindOrientationName(std::string_view inOptionValue, bool inIsTurned)
{
    const auto* const row = std::find_if(kOrientations.begin(), kOrientations.end(),
                                         [&](const AOrientationRow& inRow) {
                                             return EqualWithoutCase(inOptionValue, inRow.fOptionValue) ||
                                                    EqualWithoutCase(inOptionValue, inRow.fName);
                                         });
    if (row == kOrientations.end())
    {
        return std::nullopt;
    }
    const auto index = static_cast<std::size_t>(row - kOrientations.begin());
    return kOrientations[inIsTurned ? index ^ 1U : index].fName;
}

} // namespace

AOrientationProcessor::AOrientationProcessor(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    if (!IsApplicable())
    {
        return;
    }
    Initialize();
    fIsByPage = ShouldProcessPages();
    RegisterTasks(fIsByPage ? kPagesTasks : kSetupTasks);
}

bool AOrientationProcessor::IsApplicable() const
{
    return GetSettingsStore().IsFeatureSupported(kInsertOrientation);
}

/// Booklet pages lie on a sheet that is turned a quarter.
void AOrientationProcessor::Initialize()
{
    const ASettingsStore& settings = GetSettingsStore();
    const AOptionValue orientation = GetCUPSOption(kPMPageOrientationRef);
    const auto name = orientation ? FindOrientationName(*orientation, settings.fBooklet) : std::nullopt;
    if (!name)
    {
        return;
    }
    fOrientationCode = settings.GetInvocationCode(kInsertOrientation, *name);
    fFeatureName = PSF::CreateStandardFeatureName(kInsertOrientation, *name);
    if (fOrientationCode && settings.fManualDuplexPrintGuide && !settings.fPortrait)
    {
        fPortraitCode = settings.GetInvocationCode(kInsertOrientation, kPortrait);
    }
}

LineProcessStatus AOrientationProcessor::ProcessLine(APostScriptLineInfo& ioLine)
{
    if (!fOrientationCode)
    {
        return kLineProcessError;
    }
    fIsByPage ? OrientPage(ioLine) : OrientJob();
    return kLineProcessUnchanged;
}

void AOrientationProcessor::OrientJob()
{
    InsertBeginFeatureString(fFeatureName, false);
    WriteData(*fOrientationCode);
    InsertEndFeatureString(false);
    CompleteTask("%%BeginSetup", kAfterLine);
}

void AOrientationProcessor::OrientPage(const APostScriptLineInfo& inLine)
{
    WriteData(kSaveMatrix);
    WriteData(inLine.Holds("(reinsertion)") ? *fPortraitCode : *fOrientationCode);
    WriteData("\n");
    WriteData(kRestoreMatrix);
}
