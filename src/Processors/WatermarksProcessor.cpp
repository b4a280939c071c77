#include "Processors/WatermarksProcessor.h"

#include <optional>
#include <string>

#include "Imaging/Logger.h"
#include "Imaging/PrintfTemplate.h"
#include "Imaging/TextLayout.h"
#include "Processors/EncodedPath.h"

namespace
{

/// Mode, and the angle twice.
constexpr std::string_view kBeginDrawing = R"([{
%%%%BeginFeature: *VXwmrSwitch %s
globaldict /VXwmAngle %d put
globaldict /VXwmAngleOrig %d put
userdict /VXwmDrawing {
)";

/// Behind the outlines of the letters. VXinitmatrix is the printer's own initmatrix, initmatrix the one that applies
/// the page transformation of the job's features.
constexpr std::string_view kBeginPainting = R"(} bind put


%% Draws the mark in the middle of the page, at the angle that fits the page's own matrix.
userdict /VXwmDraw
{	gsave
	VXinitmatrix
	initmatrix
	0 setgray 1 setlinewidth true setstrokeadjust 0 setlinejoin 0 setlinecap [] 0 setdash
	currentpagedevice /PageSize get aload pop 2 div exch 2 div exch translate
	globaldict /VXwmAngle get rotate
)";

constexpr std::string_view kHalo = "gsave /DeviceGray setcolorspace 1 setgray 1.8 setlinewidth VXwmDrawing grestore\n";
/// Cyan, magenta, yellow, black.
constexpr std::string_view kColor = "/DeviceCMYK setcolorspace %f %f %f %f setcolor\n";
constexpr std::string_view kBrightness = "[ currentcmykcolor ] /DeviceCMYK setcolorspace { %f mul } forall setcolor";
constexpr std::string_view kPaintHalo = " VXwmDrawing\n";
constexpr std::string_view kPaint = "\n%f setlinewidth VXwmDrawing\n";

constexpr std::string_view kEndPainting = "grestore\n} bind put\n%%EndFeature\n} stopped cleartomark\n";

constexpr std::string_view kDraw = "VXwmDraw\n";

/// Leaves the page's matrix, relative to the printer's default one, on the stack; the number of it that the next text
/// looks at says which way the page is turned.
constexpr std::string_view kPageMatrix =
    "matrix VXcurrent matrix defaultmatrix matrix invertmatrix matrix concatmatrix\n";
constexpr std::string_view kPortraitAngle = R"(3 get 0 lt
{globaldict /VXwmAngle globaldict /VXwmAngleOrig get 180 add put}
{globaldict /VXwmAngle globaldict /VXwmAngleOrig get put}ifelse
)";
constexpr std::string_view kLandscapeAngle = R"(2 get 0 lt
{globaldict /VXwmAngle globaldict /VXwmAngleOrig get 90 add put}
{globaldict /VXwmAngle globaldict /VXwmAngleOrig get 90 sub put}ifelse
)";

constexpr ATask kTasks[] = {
    {"%%EndSetup", kBeforeLine, "Inject watermarks"},
    {"%%EndPageSetup", kBeforeLine, "Correct watermark angle"},
    {"%%Page:", kBeforeLine, "Draw watermark"},
    {"%%Trailer", kBeforeLine, "Draw watermark"},
};

/// In points. A filled text has one too; filling ignores it.
float GetLineWidth(WatermarkStyle inStyle)
{
    switch (inStyle)
    {
    case WatermarkStyle::kThin:
        return 0.24F;
    case WatermarkStyle::kThick:
        return 0.96F;
    case WatermarkStyle::kFill:
        return 0.55F;
    default:
        return 0.48F;
    }
}

/// Moves the middle of the text to where the pen is.
std::string MakeCentring(const ATextLine& inLine)
{
    const float width = inLine.fAfter - inLine.fBefore;
    const float height = inLine.fAscent + inLine.fDescent;
    return FormatTemplate("-%f -%f translate\n", {width / 2, height / 2});
}

} // namespace

AWatermarksProcessor::AWatermarksProcessor(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    if (IsApplicable())
    {
        Initialize();
        RegisterTasks(kTasks);
    }
}

/// The mark relies on the operators that the page hook keeps.
void AWatermarksProcessor::Initialize()
{
    fSettings = AWatermarkSettings::Read();
    GetSettingsStore().fRedefineShowpage = true;
    fSettings.Log();
}

LineProcessStatus AWatermarksProcessor::ProcessLine(APostScriptLineInfo& ioLine)
{
    if (!fIsInjected && ioLine.Holds("%%EndSetup"))
    {
        InjectWatermarks();
        CompleteTask("%%EndSetup");
    }
    else if (ioLine.Holds("(reinsertion)"))
    {
        BeginPage();
    }
    else if (ioLine.Holds("%%Page:") && !ioLine.Holds("(excessive)"))
    {
        BeginPage();
        fIsPageBegun = true;
    }
    else if (ioLine.Holds("%%EndPageSetup"))
    {
        PrepareMark();
    }
    else if (ioLine.Holds("%%Trailer") && !fTrailerWasSeen)
    {
        EndDocument();
    }
    return kLineProcessUnchanged;
}

void AWatermarksProcessor::InjectWatermarks()
{
    const std::optional<ATextLine> line = LayOutText(fSettings.fText, fSettings.GetFont());
    if (!line)
    {
        LoggerLogMessage(kLogError, "The job is printed without its watermark\n");
        return;
    }
    fIsInjected = true;
    WriteData(
        FormatTemplate(kBeginDrawing, {IsOverlay() ? "Overlay" : "Watermark", fSettings.fAngle, fSettings.fAngle}));
    DrawText(*line);
    WriteData(kBeginPainting);
    PaintText();
    WriteData(kEndPainting);
}

void AWatermarksProcessor::DrawText(const ATextLine& inLine)
{
    WriteData(MakeCentring(inLine));
    WriteData("{");
    AEncodedPath path(APathBounds::Around(inLine), fSettings.fStyle == WatermarkStyle::kFill ? "ufill" : "ustroke");
    for (const AGlyph& glyph : inLine.fGlyphs)
    {
        if (!path.Encode(glyph))
        {
            break;
        }
        WriteData(path.GetText());
    }
    WriteData(" } exec\n");
}

void AWatermarksProcessor::PaintText()
{
    const bool hasHalo = fSettings.fStyle == WatermarkStyle::kHalo;
    const AWatermarkColor& color = fSettings.fColor;
    WriteData(hasHalo ? kHalo : "");
    WriteData(FormatTemplate(kColor, {color.fCyan, color.fMagenta, color.fYellow, color.fBlack}));
    WriteData(FormatTemplate(kBrightness, {fSettings.fBrightness}));
    WriteData(hasHalo ? std::string(kPaintHalo) : FormatTemplate(kPaint, {GetLineWidth(fSettings.fStyle)}));
}

/// In front of a page's comment: what the page before it shows is complete.
void AWatermarksProcessor::BeginPage()
{
    if (++fPageCount > 1)
    {
        DrawOverlay();
    }
}

/// A page may have more than one end of its setup; the first one counts.
void AWatermarksProcessor::PrepareMark()
{
    if (fIsPageBegun || !fIsFirstPage)
    {
        fIsFirstPage = GetPagesManager().IsCurrentPageOfNumber(1);
    }
    if (fIsPageBegun && fIsInjected)
    {
        WriteData(kPageMatrix);
        WriteData(GetSettingsStore().fPortrait ? kPortraitAngle : kLandscapeAngle);
    }
    if (fIsPageBegun && !IsOverlay())
    {
        DrawWatermark();
    }
    fIsPageBegun = false;
}

void AWatermarksProcessor::EndDocument()
{
    fTrailerWasSeen = true;
    DrawOverlay();
    CompleteTask("%%Trailer");
    CompleteTask("%%Page:");
    CompleteTask("%%EndPageSetup");
}

void AWatermarksProcessor::DrawOverlay()
{
    if (IsOverlay())
    {
        DrawWatermark();
    }
}

void AWatermarksProcessor::DrawWatermark()
{
    if (fIsInjected && IsToBeMarked())
    {
        LoggerLogMessage(kLogTrace, "Drawing watermark!\n");
        WriteData(kDraw);
        fIsFirstPage = false;
    }
}

bool AWatermarksProcessor::IsToBeMarked() const
{
    return fSettings.fIsOnFirstPageOnly ? fIsFirstPage : !IsBlankFiller();
}

/// A page that fills up a sheet or a copy has no text and so no setup that could have ended.
bool AWatermarksProcessor::IsBlankFiller() const
{
    return fIsPageBegun && GetPagesManager().ShouldReorderPages() && GetPagesManager().IsCurrentPageOfNumber(0);
}
