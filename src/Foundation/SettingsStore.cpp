#include "Foundation/SettingsStore.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "Foundation/ProcessWide.h"
#include "Imaging/Logger.h"
#include "Imaging/NumberText.h"
#include "Imaging/PPDKeywords.h"
#include "Imaging/TextComparison.h"

bool IsOption(AOptionValue inValue, std::string_view inText)
{
    return inValue && EqualWithoutCase(*inValue, inText);
}

std::int64_t MultiplyCounts(std::string_view inRows, std::string_view inColumns)
{
    constexpr long long kLimit = 1'000'000;
    return std::clamp(ReadLeadingInteger(inRows), -kLimit, kLimit) *
           std::clamp(ReadLeadingInteger(inColumns), -kLimit, kLimit);
}

ASettingsStore& ASettingsStore::GetInstance()
{
    return AProcessWide<ASettingsStore>::Get();
}

void ASettingsStore::Initialize(int inArgumentCount, char** inArguments, char** inEnvironment)
{
    if (inArguments == nullptr || inEnvironment == nullptr)
    {
        return;
    }
    fEnvironment = inEnvironment;
    fArguments = inArguments;
    fArgumentCount = inArgumentCount;
    fOptions.fCount = cupsParseOptions(GetCommandLineParameter(5), 0, &fOptions.fItems);
    CheckCreator();
    fPPDFile = APPDFile::Open(GetEnvironmentVariable("PPD"));
    CheckPageOrder();
    CheckDuplex();
    fRotate180 = IsOption(GetCUPSOption("VXRotate180"), kTrueValue);
    CheckFinishingRotation();
    CheckBinOrder();
    CheckFinishingPageOrder();
    CheckFirstPage();
    fDuplexFaceUp = fIsDuplex && !fFaceDownOutput;
    CheckCollation();
    CheckOrientation();
    CheckWatermarks();
    const AOptionValue mirror = GetCUPSOption("MirrorPrint");
    fMirrorPrint = mirror && !IsOption(mirror, kFalseValue) && IsFeatureSupported(kMirrorPrintFeature);
    fPrintOnBottom = IsOption(GetCUPSOption(kMFPrintOnBottom), kTrueValue);
}

const char* ASettingsStore::GetCommandLineParameter(int inIndex) const
{
    return inIndex < fArgumentCount ? fArguments[inIndex] : nullptr;
}

long long ASettingsStore::GetRequestedCopies() const
{
    const char* const copies = GetCommandLineParameter(4);
    return copies != nullptr ? ReadLeadingInteger(copies) : 0;
}

const char* ASettingsStore::GetEnvironmentVariable(const char* inName)
{
    return inName != nullptr ? std::getenv(inName) : nullptr;
}

AOptionValue ASettingsStore::GetCUPSOption(std::string_view inKey, bool inOnlyIfInPPD) const
{
    if (inOnlyIfInPPD && !IsFeatureSupported(inKey))
    {
        return std::nullopt;
    }
    const char* const value = cupsGetOption(std::string(inKey).c_str(), fOptions.fCount, fOptions.fItems);
    return value != nullptr ? AOptionValue(value) : std::nullopt;
}

const APPDInfo* ASettingsStore::GetPPDInfo() const
{
    if (!std::exchange(fPPDInfoWasSought, true))
    {
        const char* const printer = GetEnvironmentVariable("PRINTER");
        fPPDInfo = printer != nullptr ? APPDInfo::CreatePPDInfo(std::string(printer))
                                      : APPDInfo::CreatePPDInfo(GetEnvironmentVariable("PPD"));
    }
    return fPPDInfo.get();
}

bool ASettingsStore::IsFeatureSupported(std::string_view inKeyword) const
{
    return GetPPDInfo() != nullptr && GetPPDInfo()->IsFeatureSupported(inKeyword);
}

bool ASettingsStore::IsFeatureSupported(PPDFeature inFeature) const
{
    return GetPPDInfo() != nullptr && GetPPDInfo()->IsFeatureSupported(inFeature);
}

std::optional<std::string> ASettingsStore::GetInvocationCode(std::string_view inKeyword,
                                                             std::string_view inChoice) const
{
    return GetPPDInfo() != nullptr ? GetPPDInfo()->GetInvocationCode(inKeyword, inChoice) : std::nullopt;
}

std::optional<std::string> ASettingsStore::GetDefaultValue(std::string_view inKeyword) const
{
    return GetPPDInfo() != nullptr ? GetPPDInfo()->GetDefaultValue(inKeyword) : std::nullopt;
}

void ASettingsStore::CheckCreator()
{
    const char* const variable = GetEnvironmentVariable("CONTENT_TYPE");
    std::string_view type = variable != nullptr ? variable : "";
    type = type.substr(0, type.find(';'));
    type = type.substr(0, type.find_last_not_of(' ') + 1);
    fIsNativePostScript = !EqualWithoutCase(type, "application/pdf") && !EqualWithoutCase(type, "text/plain");
}

void ASettingsStore::CheckPageOrder()
{
    const AOptionValue order = GetCUPSOption(kOutputOrderKeyRef);
    if (order)
    {
        CheckRequestedOrder(IsOption(order, kReverseOptionRef));
        return;
    }
    const auto byDefault = GetDefaultValue(kDefaultOutputOrderKeyRef);
    CheckRequestedOrder(byDefault && EqualWithoutCase(*byDefault, kReverseOptionRef));
    // Whether the printer could reverse the bin's order itself does not count here.
    if (IsOption(GetCUPSOption("BinStackOrder"), kReverseOptionRef) && !fIsNativePostScript)
    {
        fShouldReversePages = true;
    }
}

/// In a CUPS chain the pages of a PostScript job arrive reversed already when the printer cannot order them, as those
/// of a converted job always do.
void ASettingsStore::CheckRequestedOrder(bool inIsReverse)
{
    const bool arriveReversed = !fIsNativePostScript || GetEnvironmentVariable("FINAL_CONTENT_TYPE") != nullptr;
    fReverseOrderRequested = inIsReverse;
    fShouldReversePages = inIsReverse && arriveReversed && !IsFeatureSupported(kOutputOrderKeyRef);
}

void ASettingsStore::CheckDuplex()
{
    fDuplexSupported = IsFeatureSupported(kDuplexFeature);
    const AOptionValue sides = GetCUPSOption("sides");
    fIsDuplex = fDuplexSupported && sides && StartsWithWithoutCase(*sides, "two-");
}

void ASettingsStore::CheckFinishingRotation()
{
    const auto result = FindFinishingResult("VXFinishingRotation");
    if (result && EqualWithoutCase(*result, "180"))
    {
        fRotate180 = !fRotate180;
    }
}

/// The result that the printer description states for the first finishing option that is set as an entry says:
/// `*KEYWORD Option: "Choice=Result"`.
std::optional<std::string> ASettingsStore::FindFinishingResult(std::string_view inKeyword) const
{
    if (GetPPDInfo() == nullptr)
    {
        return std::nullopt;
    }
    for (const APPDFile::AAttribute& entry : GetPPDInfo()->GetEntries(inKeyword))
    {
        const std::string_view value = entry.fValue;
        const std::size_t separator = value.find(kPPDSeparator);
        const bool hasTwoParts = separator != std::string_view::npos && separator == value.rfind(kPPDSeparator);
        if (hasTwoParts && !entry.fSpec.empty() &&
            IsOption(GetCUPSOption(entry.fSpec, true), value.substr(0, separator)))
        {
            return std::string(value.substr(separator + kPPDSeparator.size()));
        }
    }
    return std::nullopt;
}

void ASettingsStore::CheckBinOrder()
{
    const auto byDefault = GetDefaultValue("DefaultVXFaceOrientation");
    fFaceDownOutput = !(byDefault && EqualWithoutCase(*byDefault, kFaceUpValueRef));
    CheckFaceOrientation();
}

void ASettingsStore::CheckFaceOrientation()
{
    if (const AOptionValue face = GetCUPSOption("VXFaceOrientation", true))
    {
        fFaceDownOutput = fFaceDownOutput && !IsOption(face, kFaceUpValueRef);
        return;
    }
    const AOptionValue straight =
        IsFeatureSupported(kStraightPaperPathFeature) ? GetCUPSOption("VXStraightPaperPath") : std::nullopt;
    if (straight)
    {
        fFaceDownOutput = IsOption(straight, kTrueValue) ? fDuplexSupported && fIsDuplex : fFaceDownOutput;
    }
    else if (IsOption(GetCUPSOption("BinStackOrder"), kReverseOptionRef))
    {
        fFaceDownOutput = false;
    }
}

void ASettingsStore::CheckFinishingPageOrder()
{
    if (const auto result = FindFinishingResult("VXFinishingPageOrder"))
    {
        const bool isFaceUp =
            EqualWithoutCase(*result, kFaceUpValueRef) || EqualWithoutCase(*result, kReverseOptionRef);
        (isFaceUp ? fFaceDownOutput : fReverseOrderRequested) = false;
    }
    fFinishingInOrder = fFaceDownOutput == (fShouldReversePages != fReverseOrderRequested);
}

void ASettingsStore::CheckFirstPage()
{
    fFirstPageDifferent = GetCUPSOption("AP_FIRSTPAGE_InputSlot") || GetCUPSOption("AP_FIRSTPAGE_ManualFeed");
}

void ASettingsStore::CheckCollation()
{
    const bool isPossible =
        !IsFeatureSupported(kCollateKeyRef) || GetPPDInfo()->IsChoiceAvailable(kCollateKeyRef, kTrueValueRef);
    fCollate = IsOption(GetCUPSOption("collate"), kTrueValue) && isPossible && GetRequestedCopies() > 1;
}

void ASettingsStore::CheckOrientation()
{
    constexpr long long kLimit = 1'000'000'000;
    const AOptionValue dialog = fIsNativePostScript ? GetCUPSOption(kPMPageOrientationRef) : std::nullopt;
    if (dialog)
    {
        fOrientation = static_cast<int>(std::clamp(ReadLeadingInteger(*dialog), -kLimit, kLimit) / 2);
        return;
    }
    if (const AOptionValue orientation = GetCUPSOption("orientation-requested"))
    {
        fOrientation = static_cast<int>(std::clamp(ReadLeadingInteger(*orientation), -kLimit, kLimit) - 3);
    }
    const AOptionValue rows = GetCUPSOption(kPMLayoutRows);
    const AOptionValue columns = GetCUPSOption(kPMLayoutColumns);
    if (rows && columns)
    {
        const std::int64_t pages = MultiplyCounts(*rows, *columns);
        if (pages == 2 || pages == 6)
        {
            SwapOrientation();
        }
    }
    LoggerLogMessage(kLogTrace, "Final document orientation - %d\n", fOrientation);
}

/// Layouts of 2 and 6 pages turn the sheet.
void ASettingsStore::SwapOrientation()
{
    if (fOrientation >= kPortraitOrientation && fOrientation <= kReversePortraitOrientation)
    {
        fOrientation ^= 1;
    }
    else
    {
        LoggerLogMessage(kLogError, "Unknown page orienation value - %d\n", fOrientation);
    }
}

void ASettingsStore::CheckWatermarks()
{
    const AOptionValue mark = IsFeatureSupported(kWatermarksFeature) ? GetCUPSOption("VXwmrSwitch") : std::nullopt;
    fWatermarksOn = mark && !IsOption(mark, "Off");
    fWatermarkFirstPageOnly = fWatermarksOn && IsOption(GetCUPSOption("VXwmrPages"), "FirstPage");
}
