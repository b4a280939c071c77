#include "Processors/ImageShiftProcessor.h"

#include "Imaging/NumberText.h"
#include "Imaging/OptionCoding.h"
#include "Imaging/PPDKeywords.h"
#include "Imaging/PrintfTemplate.h"
#include "Imaging/TextEncoding.h"

namespace
{

constexpr const char* kDetailsKey = "VXImageShiftDetails";
constexpr std::size_t kFeatureLineSize = 1024;
constexpr std::size_t kCodeSize = 1024;

// A task stays after its feature was filled: a job may set the shift more than once.
constexpr ATask kTasks[] = {
    {".*VXImageShiftFront.*True", kAfterLine, "Insert front image shift data", kRegExp},
    {".*VXImageShiftBack.*True", kAfterLine, "Insert back image shift data", kRegExp},
};

} // namespace

const AImageShiftProcessor::ASide AImageShiftProcessor::kFront = {"VXImageShiftFront", "Front", "VXImageShiftFrontX",
                                                                  "VXImageShiftFrontY"};
const AImageShiftProcessor::ASide AImageShiftProcessor::kBack = {"VXImageShiftBack", "Back", "VXImageShiftBackX",
                                                                 "VXImageShiftBackY"};

double CastValueToPostScriptUnits(double inMillimetres)
{
    return inMillimetres / static_cast<double>(kMmPerInch) * kPSUnitFactor;
}

AImageShiftProcessor::AImageShiftProcessor(ADocumentIterator& ioIterator)
    : APostScriptProcessor(ioIterator), fShiftFront(IsOption(GetCUPSOption(kFront.fFeature), kTrueValue)),
      fShiftBack(IsOption(GetCUPSOption(kBack.fFeature), kTrueValue))
{
    if (!IsApplicable())
    {
        return;
    }
    ASettingsStore& settings = GetSettingsStore();
    settings.fRedefineShowpage = settings.fRedefineShowpage || settings.fOrientation != kPortraitOrientation;
    RegisterTasks(kTasks);
}

LineProcessStatus AImageShiftProcessor::ProcessLine(APostScriptLineInfo& ioLine)
{
    if (BeginsFeature(ioLine))
    {
        if (fShiftFront && ioLine.Holds(kFront.fFeature))
        {
            ProceedShiftData(kFront);
        }
        else if (fShiftBack && ioLine.Holds(kBack.fFeature))
        {
            ProceedShiftData(kBack);
        }
    }
    return kLineProcessUnchanged;
}

/// Without the end of the feature: that comes after the code.
void AImageShiftProcessor::WriteFeature()
{
    ABlockReader feature(GetInputFile(), kEndFeature, kFeatureLineSize);
    AJobLine line;
    while (feature.ReadLine(line) && !feature.IsAtEnd())
    {
        WriteData(line.fText);
    }
}

void AImageShiftProcessor::ProceedShiftData(const ASide& inSide)
{
    WriteFeature();
    const auto code = GetSettingsStore().GetInvocationCode(kDetailsKey, inSide.fChoice);
    const std::string text = ConvertText(code.value_or(""), TextEncoding::kUTF8, kCodeSize);
    if (code && text.empty())
    {
        return;
    }
    const double sign = GetSettingsStore().fRotate180 ? -1 : 1;
    WriteData(FormatTemplate(text, {sign * GetShiftValue(inSide.fX), sign * GetShiftValue(inSide.fY)}));
    InsertEndFeatureString(false);
}

double AImageShiftProcessor::GetShiftValue(const char* inKey)
{
    const AOptionValue value = GetCUPSOption(inKey);
    return value ? CastValueToPostScriptUnits(ReadLeadingNumber(CreateDecodedCString(*value))) : 0;
}
