#include "Processors/BookletProcessor.h"

#include <algorithm>
#include <utility>

#include "Imaging/NumberText.h"
#include "Imaging/PostScriptText.h"
#include "Processors/PageSizes.h"

namespace
{

/// Converters set the size of each page, and a size set between the two halves of a side would eject it. From the first
/// page on, only what else a page asks of the device gets through.
constexpr std::string_view kKeepSheetSize = R"(userdict begin
/VXpages false def
/VXsetpagedevice/setpagedevice load def
/setpagedevice{VXpages{dup length dict copy dup/PageSize undef dup/ImagingBBox undef dup length 0 eq{pop}{VXsetpagedevice}ifelse}{VXsetpagedevice}ifelse}bind def
end
)";
constexpr std::string_view kPagesBegin = "userdict/VXpages true put\n";

constexpr std::string_view kTumbleBlock = R"([{
	%%BeginFeature: *Duplex DuplexTumble
		<</Duplex true /Tumble true>> setpagedevice
	%%EndFeature
} stopped cleartomark
)";
constexpr std::string_view kTumbleFeature = "%%BeginFeature: *Duplex DuplexTumble\n"
                                            "<</Duplex true /Tumble true>> setpagedevice\n";

/// No page is shown between the halves, so nothing else resets the clip that the first one set.
constexpr std::string_view kResetClip = "initclip\n";

constexpr ATask kHeaderTasks[] = {
    {"%%Pages:", kBeforeLine, "Process %%Pages"},
    {"%%PageOrder:", kBeforeLine, "Process %%PageOrder"},
    {"%%EndComments", kBeforeLine, "Process %%PageOrder"},
};
constexpr ATask kDuplexTasks[] = {
    {"%%EndSetup", kBeforeLine, "Inject Duplex invocation"},
    {"\\*Duplex", kBeforeLine, "Check Duplex is ON", kRegExp},
};
constexpr ATask kPageTasks[] = {
    {"\\*Page", kBeforeLine, "Inject Booklet PageSize", kRegExp},
    {"%%Page:", kBeforeLine, "Process page"},
    {"%%Page:", kAfterLine, "Process page"},
};

bool IsGuide(const APostScriptLineInfo& inPageLine)
{
    return inPageLine.Holds("(reinsertion)");
}

} // namespace

ABookletLayout LayOutBooklet(const APageSizeRecord& inSheet, const APageSizeRecord& inPage, bool inFitPage)
{
    const float across = inSheet.fTop - inSheet.fBottom;
    const float along = inSheet.fRight - inSheet.fLeft;
    ABookletLayout layout;
    layout.fOriginX = inSheet.fBottom + along;
    layout.fOriginY = inSheet.fLeft;
    layout.fScaleX = across * 0.5F / inPage.fWidth;
    layout.fScaleY = along / inPage.fLength;
    layout.fSecondHalfX = inSheet.fLength * 0.5F - inSheet.fBottom;
    if (!inFitPage)
    {
        layout.fScaleX = layout.fScaleY = std::min(layout.fScaleX, layout.fScaleY);
        layout.fHalfY = (along - inPage.fLength * layout.fScaleY) * 0.5F;
        layout.fSecondHalfX = across - inPage.fWidth * layout.fScaleX;
    }
    return layout;
}

ABookletProcessor::ABookletProcessor(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    if (!IsApplicable())
    {
        return;
    }
    Initialize();
    RegisterTasks(kHeaderTasks);
    if (GetSettingsStore().fIsDuplex)
    {
        RegisterTasks(kDuplexTasks);
    }
    RegisterTasks(kPageTasks);
}

void ABookletProcessor::Initialize()
{
    const ASettingsStore& settings = GetSettingsStore();
    const AOptionValue media = GetCUPSOption("media");
    const APageSizeRecord sheet = FindPageSize(settings.fBookletPaperSize).value_or(GetA4PageSize());
    const APageSizeRecord page = media ? FindPageSize(media).value_or(GetA4PageSize()) : GetUsualPageSize();
    fLayout = LayOutBooklet(sheet, page, IsOption(GetCUPSOption("VXBookletScaling"), "FitPage"));
    if (settings.GetPPDFile() != nullptr)
    {
        fPageSizeCode = settings.GetPPDFile()->GetPageSizeCode(settings.fBookletPaperSize);
    }
}

LineProcessStatus ABookletProcessor::ProcessLine(APostScriptLineInfo& ioLine)
{
    if (ioLine.Holds("%%Pages:"))
    {
        return StateNumberOfPagesAtEnd();
    }
    if (ioLine.Holds("%%PageOrder:"))
    {
        return StatePageOrder();
    }
    if (ioLine.Holds("%%EndComments"))
    {
        DefineScaling();
    }
    else if (ioLine.Holds("%%EndSetup"))
    {
        RequestTumble();
    }
    else if (BeginsFeature(ioLine))
    {
        return ReplaceFeature(ioLine);
    }
    else if (ioLine.Holds("%%Page:"))
    {
        return ProcessPage(ioLine);
    }
    return kLineProcessUnchanged;
}

LineProcessStatus ABookletProcessor::StateNumberOfPagesAtEnd()
{
    WriteData("%%Pages: (atend)\n");
    CompleteTask("%%Pages:");
    return kLineProcessSkip;
}

/// A document states its pages before their order: a number of pages that comes later is not the header's.
LineProcessStatus ABookletProcessor::StatePageOrder()
{
    WriteData("%%PageOrder: Special\n");
    CompleteTask("%%Pages:");
    CompleteTask("%%PageOrder:");
    return kLineProcessSkip;
}

void ABookletProcessor::DefineScaling()
{
    WriteData("userdict begin\n/VXscale {\n" + WriteFixed(fLayout.fOriginX, 1) + " " + WriteFixed(fLayout.fOriginY, 1) +
              " translate\n90 rotate\ntranslate\n" + WriteFixed(fLayout.fScaleX, 3) + " " +
              WriteFixed(fLayout.fScaleY, 3) + " scale\n}bind def\nend\n");
    WriteData(kKeepSheetSize);
    CompleteTask("%%EndComments");
}

void ABookletProcessor::RequestTumble()
{
    if (!fDuplexSeen)
    {
        WriteData(kTumbleBlock);
    }
    CompleteTask("\\*Duplex");
    CompleteTask("%%EndSetup");
}

LineProcessStatus ABookletProcessor::ReplaceFeature(const APostScriptLineInfo& inLine)
{
    if (inLine.Holds("PageSize") || inLine.Holds("PageRegion"))
    {
        return ReplacePageSize();
    }
    return inLine.Holds("Duplex") ? ReplaceDuplex(inLine) : kLineProcessUnchanged;
}

LineProcessStatus ABookletProcessor::ReplacePageSize()
{
    InsertBeginFeatureString(PSF::CreateStandardFeatureName("PageSize", GetSettingsStore().fBookletPaperSize), false);
    WriteFormattedData("%s\n", fPageSizeCode.value_or("").c_str());
    SkipCurrentFeature();
    InsertEndFeatureString(false);
    CompleteTask("\\*Page");
    return kLineProcessSkip;
}

/// A choice that turns the sheet over its short edge already stays.
LineProcessStatus ABookletProcessor::ReplaceDuplex(const APostScriptLineInfo& inLine)
{
    const bool wasSeen = std::exchange(fDuplexSeen, true);
    if (!inLine.Holds("DuplexNoTumble") && !inLine.Holds("None"))
    {
        return kLineProcessUnchanged;
    }
    if (!wasSeen)
    {
        WriteData(kTumbleFeature);
    }
    SkipCurrentFeature();
    InsertEndFeatureString(false);
    return kLineProcessSkip;
}

LineProcessStatus ABookletProcessor::ProcessPage(APostScriptLineInfo& ioLine)
{
    const bool isGuide = IsGuide(ioLine);
    if (ioLine.GetLineOrder() == kAfterLine)
    {
        if (!isGuide)
        {
            FollowPageComment();
        }
        return kLineProcessUnchanged;
    }
    if (!std::exchange(fPagesHaveBegun, true))
    {
        WriteData(kPagesBegin);
    }
    if (isGuide)
    {
        ++fSheetSideNumber;
    }
    else
    {
        EnterPage();
    }
    CorrectPSPageInvocation(ioLine);
    return kLineProcessChanged;
}

void ABookletProcessor::EnterPage()
{
    fFirstHalf = !fFirstHalf;
    if (fFirstHalf)
    {
        ++fSheetSideNumber;
        return;
    }
    EndPage();
    BeginPage();
}

void ABookletProcessor::FollowPageComment()
{
    if (fFirstHalf)
    {
        BeginPage();
    }
    else
    {
        WriteData(kResetClip);
    }
}

void ABookletProcessor::BeginPage()
{
    WriteData(fFirstHalf ? "%%Subpage 1\n" : "%%Subpage 2\n");
    if (fFirstHalf)
    {
        WriteData(kSaveMatrix);
    }
    WriteData(WriteFixed(fFirstHalf ? 0 : fLayout.fSecondHalfX, 1) + " " + WriteFixed(fLayout.fHalfY, 1) +
              " VXscale\n");
}

void ABookletProcessor::EndPage()
{
    WriteData(kRestoreMatrix);
}

/// Both pages of a side bear its number: who shows a page at a comment with a new number shows the side whole.
void ABookletProcessor::CorrectPSPageInvocation(APostScriptLineInfo& ioLine) const
{
    if (const auto page = PSF::GetPageInfoFromPSPageInvocation(ioLine.GetLine().GetVisibleText()))
    {
        ioLine.SetLine("%%Page: " + std::string(page->fLabel) + " " + std::to_string(fSheetSideNumber) + "\n");
    }
}
