#include <gtest/gtest.h>

#include <array>

#include "Foundation/SettingsStore.h"
#include "ScopedEnvironment.h"
#include "TemporaryFolder.h"
#include "TestSupport.h"

namespace
{

/// A store as a job with these options, copies and printer description gets it.
class AStore
{
public:
    AStore(std::string inOptions, std::string_view inPPD, std::string inCopies = "1", const char* inPrinter = nullptr)
        : fTexts{"filter", "1", "user", "title", std::move(inCopies), std::move(inOptions)},
          fPPD("PPD", fFolder.Write("printer.ppd", inPPD).c_str()), fPrinter("PRINTER", inPrinter)
    {
        for (std::size_t i = 0; i < fTexts.size(); ++i)
        {
            fArguments[i] = fTexts[i].data();
        }
        fSettings.Initialize(static_cast<int>(fTexts.size()), fArguments.data(), environ);
    }

    ASettingsStore fSettings;

private:
    ATemporaryFolder fFolder;
    std::array<std::string, 6> fTexts;
    std::array<char*, 7> fArguments{};
    AScopedEnvironment fPPD;
    AScopedEnvironment fPrinter;
};

/// The names of all flags that are set.
std::string Describe(const ASettingsStore& inSettings)
{
    const std::pair<bool, const char*> flags[] = {
        {inSettings.fIsNativePostScript, "native "},
        {inSettings.fShouldReversePages, "reverse "},
        {inSettings.fReverseOrderRequested, "requested "},
        {inSettings.fDuplexSupported, "can-duplex "},
        {inSettings.fIsDuplex, "duplex "},
        {inSettings.fFaceDownOutput, "face-down "},
        {inSettings.fFinishingInOrder, "in-order "},
        {inSettings.fDuplexFaceUp, "duplex-face-up "},
        {inSettings.fRotate180, "rotated "},
        {inSettings.fFirstPageDifferent, "first-page "},
        {inSettings.fCollate, "collated "},
        {inSettings.fWatermarksOn, "marks "},
        {inSettings.fWatermarkFirstPageOnly, "first-mark "},
        {inSettings.fMirrorPrint, "mirrored "},
        {inSettings.fPrintOnBottom, "bottom "},
        {inSettings.fRedefineShowpage || inSettings.fJobStorageActive || inSettings.fBooklet, "too-early "},
    };
    std::string text;
    for (const auto& [isSet, name] : flags)
    {
        text += isSet ? name : "";
    }
    return text + std::to_string(inSettings.fOrientation);
}

struct ACase
{
    const char* fOptions;
    const char* fPPD;      ///< statements behind the usual head, which has a duplex unit
    const char* fExpected; ///< without "can-duplex ", which all of them have
    const char* fContentType = "application/pdf";
    const char* fCopies = "1";
};

constexpr const char* kNative = nullptr;
constexpr const char* kOrderOption = "*OpenUI *OutputOrder: PickOne\n*OutputOrder Normal: \"\"\n"
                                     "*OutputOrder Reverse: \"\"\n*CloseUI: *OutputOrder\n";
constexpr const char* kFaceUp = "*DefaultVXFaceOrientation: FaceUp\n";
constexpr const char* kFace = "*VXFaceOrientation FaceUp: \"x\"\n";
constexpr const char* kFaceBoth = "*DefaultVXFaceOrientation: FaceUp\n*VXFaceOrientation FaceUp: \"x\"\n";
constexpr const char* kStraight = "*VXStraightPaperPath True: \"x\"\n";
constexpr const char* kStapler180 = "*VXStapler UpperLeft: \"x\"\n*VXFinishingRotation VXStapler: \"UpperLeft=180\"\n";
constexpr const char* kCollate = "*OpenUI *Collate: Boolean\n*Collate True: \"\"\n*Collate False: \"\"\n*CloseUI: "
                                 "*Collate\n";
constexpr const char* kCollateNeedsDisk =
    "*OpenUI *Collate: Boolean\n*Collate True: \"\"\n*Collate False: \"\"\n*CloseUI: *Collate\n"
    "*OpenGroup: InstallableOptions/Installed\n*OpenUI *VXDisk: Boolean\n*DefaultVXDisk: False\n*VXDisk False: \"\"\n"
    "*VXDisk True: \"\"\n*CloseUI: *VXDisk\n*CloseGroup: InstallableOptions\n"
    "*UIConstraints: *VXDisk False *Collate True\n*UIConstraints: *Collate True *VXDisk False\n";
constexpr const char* kMarks = "*VXwmrSwitch On: \"x\"\n";
constexpr const char* kMirror = "*MirrorPrint True: \"x\"\n";

// What cannot be read is passed over, and of the rest the first counts.
constexpr const char* kFirstRotationWins =
    "*VXStapler UpperLeft: \"x\"\n*VXFinishingRotation: \"UpperLeft=180\"\n"
    "*VXFinishingRotation VXStapler: \"UpperLeft=180=180\"\n*VXFinishingRotation VXStapler: \"180\"\n"
    "*VXFinishingRotation VXStapler: \"UpperLeft=90\"\n*VXFinishingRotation VXStapler: \"UpperLeft=180\"\n";
constexpr const char* kUnknownRotation = "*VXFinishingRotation VXHidden: \"UpperLeft=180\"\n";
constexpr const char* kFinishingOrder =
    "*VXStapler UpperLeft: \"x\"\n*VXFinishingPageOrder VXStapler: \"UpperLeft=Normal\"\n"
    "*VXFinishingPageOrder VXStapler: \"LowerLeft=Reverse\"\n";

#define VX_ROWS "com.apple.print.PrintSettings.PMLayoutRows..n."
#define VX_COLUMNS "com.apple.print.PrintSettings.PMLayoutColumns..n."

const ACase kCases[] = {
    // who made the job
    {"", "", "face-down 0"},
    {"", "", "face-down 0", "Text/Plain ; charset=utf-8"},
    {"", "", "native face-down 0", "application/postscript"},
    {"", "", "native face-down 0", "application/pdfx"},
    {"", "", "native face-down 0", kNative},
    // page order
    {"OutputOrder=reverse", "", "reverse requested face-down 0"},
    {"outputorder=Reverse", kOrderOption, "requested face-down in-order 0"},
    {"OutputOrder=Reverse", "", "native requested face-down in-order 0", kNative},
    {"OutputOrder=Normal", "*DefaultOutputOrder: Reverse\n", "face-down 0"},
    {"", "*DefaultOutputOrder: Reverse\n", "reverse requested face-down 0"},
    {"OutputOrder=Normal BinStackOrder=Reverse", "", "in-order 0"},
    {"BinStackOrder=Reverse", "", "reverse 0"},
    {"BinStackOrder=Reverse", kOrderOption, "reverse 0"},
    {"BinStackOrder=Reverse", "", "native in-order 0", kNative},
    // sides and bins
    {"sides=TWO-sided-long-edge", "", "duplex face-down 0"},
    {"sides=two", "", "face-down 0"},
    {"sides=two-x", kFaceUp, "duplex in-order duplex-face-up 0"},
    {"", kFaceUp, "in-order 0"},
    {"VXFaceOrientation=FaceDown", kFaceBoth, "in-order 0"},
    {"VXFaceOrientation=faceup", kFace, "in-order 0"},
    {"VXFaceOrientation=FaceUp", "", "face-down 0"},
    {"VXFaceOrientation=FaceUp BinStackOrder=x", "", "face-down 0"},
    {"VXFaceOrientation=FaceDown BinStackOrder=Reverse", kFace, "reverse face-down in-order 0"},
    {"VXStraightPaperPath=True", kStraight, "in-order 0"},
    {"VXStraightPaperPath=True", "", "face-down 0"},
    {"VXStraightPaperPath=True sides=two-x", kStraight, "duplex face-down 0"},
    {"VXStraightPaperPath=False BinStackOrder=Reverse", kStraight, "reverse face-down in-order 0"},
    {"VXStraightPaperPath=False BinStackOrder=Reverse", "", "reverse 0"},
    // finishing
    {"VXRotate180=true", "", "face-down rotated 0"},
    {"VXStapler=upperleft", kStapler180, "face-down rotated 0"},
    {"VXRotate180=True VXStapler=UpperLeft", kStapler180, "face-down 0"},
    {"VXStapler=None", kStapler180, "face-down 0"},
    {"VXStapler=UpperLeft", kFirstRotationWins, "face-down 0"},
    {"VXHidden=UpperLeft", kUnknownRotation, "face-down 0"},
    {"OutputOrder=Reverse VXStapler=UpperLeft", kFinishingOrder, "reverse face-down in-order 0"},
    {"OutputOrder=Reverse VXStapler=LowerLeft", kFinishingOrder, "reverse requested in-order 0"},
    // copies and the first page
    {"collate=True", "", "face-down 0"},
    {"collate=true", "", "face-down collated 0", "application/pdf", "2"},
    {"collate", "", "face-down collated 0", "application/pdf", "99999999999999999999"},
    {"collate=True", "", "face-down 0", "application/pdf", "-2"},
    {"collate=separate", "", "face-down 0", "application/pdf", "2"},
    {"collate=True", kCollate, "face-down collated 0", "application/pdf", "2"},
    {"collate=True", kCollateNeedsDisk, "face-down 0", "application/pdf", "2"},
    {"collate=True", "*Collate False: \"\"\n", "face-down 0", "application/pdf", "2"},
    {"AP_FIRSTPAGE_InputSlot=x", "", "face-down first-page 0"},
    {"AP_FIRSTPAGE_ManualFeed=False", "", "face-down first-page 0"},
    // orientation
    {"orientation-requested=4", "", "face-down 1"},
    {"orientation-requested=4 " VX_ROWS "=1 " VX_COLUMNS "=2", "", "face-down 0"},
    {"orientation-requested=4 " VX_ROWS "=2 " VX_COLUMNS "=2", "", "face-down 1"},
    {"orientation-requested=5 " VX_ROWS "=3 " VX_COLUMNS "=2", "", "face-down 3"},
    {"orientation-requested=6 " VX_ROWS "=2 " VX_COLUMNS "=3", "", "face-down 2"},
    {"orientation-requested=9 " VX_ROWS "=2 " VX_COLUMNS "=1", "", "face-down 6"},
    {VX_ROWS "=2 " VX_COLUMNS "=1", "", "face-down 1"},
    {VX_ROWS "=2", "", "face-down 0"},
    {"PMPageOrientation=4", "", "face-down 0"},
    {"PMPageOrientation=4 orientation-requested=4", "", "native face-down 2", kNative},
    {"PMPageOrientation=3", "", "native face-down 1", kNative},
    {"orientation-requested=4", "", "native face-down 1", kNative},
    // features that the printer must have
    {"VXwmrSwitch=On VXwmrPages=FirstPage", "", "face-down 0"},
    {"VXwmrSwitch=On", kMarks, "face-down marks 0"},
    {"VXwmrSwitch=Under VXwmrPages=firstpage", kMarks, "face-down marks first-mark 0"},
    {"VXwmrSwitch=off VXwmrPages=FirstPage", kMarks, "face-down 0"},
    {"MirrorPrint", "", "face-down 0"},
    {"MirrorPrint", kMirror, "face-down mirrored 0"},
    {"MirrorPrint=false", kMirror, "face-down 0"},
    {"noMirrorPrint", kMirror, "face-down 0"},
    {"MFPrintOnBottom=true", "", "face-down bottom 0"},
    {"MFPrintOnBottom=1", "", "face-down 0"},
};

} // namespace

TEST(SettingsStore, KnowsTheJobFromItsOptionsAndThePrinter)
{
    for (const ACase& test : kCases)
    {
        const AScopedEnvironment type("CONTENT_TYPE", test.fContentType);
        const AScopedEnvironment chain("FINAL_CONTENT_TYPE", nullptr);
        const AStore store(test.fOptions, MakePPD(test.fPPD), test.fCopies);
        EXPECT_EQ(Replace(Describe(store.fSettings), "can-duplex ", ""), test.fExpected)
            << test.fOptions << " | " << test.fPPD;
    }
    EXPECT_FALSE(AStore("sides=two-sided-long-edge", MakeSimplexPPD("")).fSettings.fIsDuplex);
    const AScopedEnvironment type("CONTENT_TYPE", nullptr);
    const AScopedEnvironment chain("FINAL_CONTENT_TYPE", "application/vnd.cups-postscript");
    EXPECT_TRUE(AStore("OutputOrder=Reverse", MakePPD("")).fSettings.fShouldReversePages);
    EXPECT_FALSE(AStore("OutputOrder=Reverse", MakePPD(kOrderOption)).fSettings.fShouldReversePages);
}

TEST(SettingsStore, TheQueuesDescriptionComesFirst)
{
    const ATemporaryFolder root;
    root.Write("ppd/queue.ppd", MakePPD("*VXInQueue True: \"x\"\n"));
    root.Write("ppd/broken.ppd", "no printer description");
    const AScopedEnvironment serverRoot("CUPS_SERVERROOT", root.GetPath().c_str());
    for (const auto& [printer, keyword] :
         {std::pair("queue", "VXInQueue"), std::pair("none", "VXInFile"), std::pair("broken", "VXInFile"),
          std::pair("../ppd/queue", "VXInFile"), std::pair("", "VXInFile")})
    {
        const AStore store("", MakePPD("*VXInFile True: \"x\"\n"), "1", printer);
        EXPECT_TRUE(store.fSettings.IsFeatureSupported(keyword)) << printer;
    }
}
