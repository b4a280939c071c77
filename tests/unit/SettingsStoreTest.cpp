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

void Check(const ACase& inCase)
{
    SCOPED_TRACE(std::string(inCase.fOptions) + " | " + inCase.fPPD);
    const AScopedEnvironment type("CONTENT_TYPE", inCase.fContentType);
    const AScopedEnvironment chain("FINAL_CONTENT_TYPE", nullptr);
    const AStore store(inCase.fOptions, MakePPD(inCase.fPPD), inCase.fCopies);
    EXPECT_EQ(Replace(Describe(store.fSettings), "can-duplex ", ""), inCase.fExpected);
}

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

#define VX_ROWS "com.apple.print.PrintSettings.PMLayoutRows..n."
#define VX_COLUMNS "com.apple.print.PrintSettings.PMLayoutColumns..n."

} // namespace

TEST(SettingsStore, WhoMadeTheJob)
{
    for (const ACase& example : {
             ACase{"", "", "face-down 0"},
             ACase{"", "", "face-down 0", "Text/Plain ; charset=utf-8"},
             ACase{"", "", "native face-down 0", "application/postscript"},
             ACase{"", "", "native face-down 0", "application/pdfx"},
             ACase{"", "", "native face-down 0", kNative},
         })
    {
        Check(example);
    }
}

TEST(SettingsStore, PageOrder)
{
    for (const ACase& example : {
             ACase{"OutputOrder=reverse", "", "reverse requested face-down 0"},
             ACase{"outputorder=Reverse", kOrderOption, "requested face-down in-order 0"},
             ACase{"OutputOrder=Reverse", "", "native requested face-down in-order 0", kNative},
             ACase{"OutputOrder=Normal", "*DefaultOutputOrder: Reverse\n", "face-down 0"},
             ACase{"", "*DefaultOutputOrder: Reverse\n", "reverse requested face-down 0"},
             ACase{"OutputOrder=Normal BinStackOrder=Reverse", "", "in-order 0"},
             ACase{"BinStackOrder=Reverse", "", "reverse 0"},
             ACase{"BinStackOrder=Reverse", kOrderOption, "reverse 0"},
             ACase{"BinStackOrder=Reverse", "", "native in-order 0", kNative},
         })
    {
        Check(example);
    }
    const AScopedEnvironment type("CONTENT_TYPE", nullptr);
    const AScopedEnvironment chain("FINAL_CONTENT_TYPE", "application/vnd.cups-postscript");
    EXPECT_TRUE(AStore("OutputOrder=Reverse", MakePPD("")).fSettings.fShouldReversePages);
    EXPECT_FALSE(AStore("OutputOrder=Reverse", MakePPD(kOrderOption)).fSettings.fShouldReversePages);
}

TEST(SettingsStore, SidesAndBins)
{
    for (const ACase& example : {
             ACase{"sides=TWO-sided-long-edge", "", "duplex face-down 0"},
             ACase{"sides=one-sided", "", "face-down 0"},
             ACase{"sides=two", "", "face-down 0"},
             ACase{"sides=two-x", kFaceUp, "duplex in-order duplex-face-up 0"},
             ACase{"", kFaceUp, "in-order 0"},
             ACase{"VXFaceOrientation=FaceDown", kFaceBoth, "in-order 0"},
             ACase{"VXFaceOrientation=faceup", kFace, "in-order 0"},
             ACase{"VXFaceOrientation=FaceUp", "", "face-down 0"},
             ACase{"VXFaceOrientation=FaceUp BinStackOrder=x", "", "face-down 0"},
             ACase{"VXFaceOrientation=FaceDown BinStackOrder=Reverse", kFace, "reverse face-down in-order 0"},
             ACase{"VXStraightPaperPath=True", kStraight, "in-order 0"},
             ACase{"VXStraightPaperPath=True", "", "face-down 0"},
             ACase{"VXStraightPaperPath=True sides=two-x", kStraight, "duplex face-down 0"},
             ACase{"VXStraightPaperPath=False BinStackOrder=Reverse", kStraight, "reverse face-down in-order 0"},
             ACase{"VXStraightPaperPath=False BinStackOrder=Reverse", "", "reverse 0"},
         })
    {
        Check(example);
    }
    const AStore simplex("sides=two-sided-long-edge", MakeSimplexPPD(""));
    EXPECT_FALSE(simplex.fSettings.fDuplexSupported || simplex.fSettings.fIsDuplex);
}

TEST(SettingsStore, Finishing)
{
    const std::string skipped = "*VXStapler UpperLeft: \"x\"\n*VXFinishingRotation: \"UpperLeft=180\"\n"
                                "*VXFinishingRotation VXStapler: \"UpperLeft=180=180\"\n"
                                "*VXFinishingRotation VXStapler: \"180\"\n";
    const std::string firstWins = skipped + "*VXFinishingRotation VXStapler: \"UpperLeft=90\"\n" + kStapler180;
    const std::string unknown = "*VXFinishingRotation VXHidden: \"UpperLeft=180\"\n";
    const std::string order = "*VXStapler UpperLeft: \"x\"\n*VXFinishingPageOrder VXStapler: \"UpperLeft=Normal\"\n"
                              "*VXFinishingPageOrder VXStapler: \"LowerLeft=Reverse\"\n";
    for (const ACase& example : {
             ACase{"VXRotate180=true", "", "face-down rotated 0"},
             ACase{"VXStapler=upperleft", kStapler180, "face-down rotated 0"},
             ACase{"VXRotate180=True VXStapler=UpperLeft", kStapler180, "face-down 0"},
             ACase{"VXStapler=None", kStapler180, "face-down 0"},
             ACase{"VXStapler=UpperLeft", skipped.c_str(), "face-down 0"},
             ACase{"VXStapler=UpperLeft", firstWins.c_str(), "face-down 0"},
             ACase{"VXHidden=UpperLeft", unknown.c_str(), "face-down 0"},
             ACase{"OutputOrder=Reverse VXStapler=UpperLeft", order.c_str(), "reverse face-down in-order 0"},
             ACase{"OutputOrder=Reverse VXStapler=LowerLeft", order.c_str(), "reverse requested in-order 0"},
         })
    {
        Check(example);
    }
}

TEST(SettingsStore, CopiesAndFirstPage)
{
    for (const ACase& example : {
             ACase{"collate=True", "", "face-down 0"},
             ACase{"collate=true", "", "face-down collated 0", "application/pdf", "2"},
             ACase{"collate", "", "face-down collated 0", "application/pdf", "99999999999999999999"},
             ACase{"collate=True", "", "face-down 0", "application/pdf", "-2"},
             ACase{"collate=True", "", "face-down 0", "application/pdf", "x"},
             ACase{"collate=separate", "", "face-down 0", "application/pdf", "2"},
             ACase{"collate=True", kCollate, "face-down collated 0", "application/pdf", "2"},
             ACase{"collate=True", kCollateNeedsDisk, "face-down 0", "application/pdf", "2"},
             ACase{"collate=True", "*Collate False: \"\"\n", "face-down 0", "application/pdf", "2"},
             ACase{"AP_FIRSTPAGE_InputSlot=x", "", "face-down first-page 0"},
             ACase{"AP_FIRSTPAGE_ManualFeed=False", "", "face-down first-page 0"},
         })
    {
        Check(example);
    }
}

TEST(SettingsStore, Orientation)
{
    for (const ACase& example : {
             ACase{"orientation-requested=4", "", "face-down 1"},
             ACase{"orientation-requested=4 " VX_ROWS "=1 " VX_COLUMNS "=2", "", "face-down 0"},
             ACase{"orientation-requested=4 " VX_ROWS "=2 " VX_COLUMNS "=2", "", "face-down 1"},
             ACase{"orientation-requested=5 " VX_ROWS "=3 " VX_COLUMNS "=2", "", "face-down 3"},
             ACase{"orientation-requested=6 " VX_ROWS "=2 " VX_COLUMNS "=3", "", "face-down 2"},
             ACase{"orientation-requested=9 " VX_ROWS "=2 " VX_COLUMNS "=1", "", "face-down 6"},
             ACase{VX_ROWS "=2 " VX_COLUMNS "=1", "", "face-down 1"},
             ACase{VX_ROWS "=2", "", "face-down 0"},
             ACase{"PMPageOrientation=4", "", "face-down 0"},
             ACase{"PMPageOrientation=4 orientation-requested=4", "", "native face-down 2", kNative},
             ACase{"PMPageOrientation=3", "", "native face-down 1", kNative},
             ACase{"orientation-requested=4", "", "native face-down 1", kNative},
         })
    {
        Check(example);
    }
}

TEST(SettingsStore, FeaturesThatThePrinterMustHave)
{
    constexpr const char* kMarks = "*VXwmrSwitch On: \"x\"\n";
    constexpr const char* kMirror = "*MirrorPrint True: \"x\"\n";
    for (const ACase& example : {
             ACase{"VXwmrSwitch=On VXwmrPages=FirstPage", "", "face-down 0"},
             ACase{"VXwmrSwitch=On", kMarks, "face-down marks 0"},
             ACase{"VXwmrSwitch=Under VXwmrPages=firstpage", kMarks, "face-down marks first-mark 0"},
             ACase{"VXwmrSwitch=off VXwmrPages=FirstPage", kMarks, "face-down 0"},
             ACase{"VXwmrPages=FirstPage", kMarks, "face-down 0"},
             ACase{"MirrorPrint", "", "face-down 0"},
             ACase{"MirrorPrint", kMirror, "face-down mirrored 0"},
             ACase{"MirrorPrint=false", kMirror, "face-down 0"},
             ACase{"noMirrorPrint", kMirror, "face-down 0"},
             ACase{"MFPrintOnBottom=true", "", "face-down bottom 0"},
             ACase{"MFPrintOnBottom=1", "", "face-down 0"},
         })
    {
        Check(example);
    }
}

TEST(SettingsStore, TheQueuesDescriptionComesFirst)
{
    const ATemporaryFolder root;
    root.Write("ppd/queue.ppd", MakePPD("*VXInQueue True: \"x\"\n"));
    const AScopedEnvironment serverRoot("CUPS_SERVERROOT", root.GetPath().c_str());
    for (const auto& [printer, keyword] : {std::pair("queue", "VXInQueue"), std::pair("none", "VXInFile"),
                                           std::pair("../ppd/queue", "VXInFile"), std::pair("", "VXInFile")})
    {
        const AStore store("", MakePPD("*VXInFile True: \"x\"\n"), "1", printer);
        EXPECT_TRUE(store.fSettings.IsFeatureSupported(keyword)) << printer;
    }
}

TEST(SettingsStore, WithoutADescriptionEverythingKeepsItsDefault)
{
    const AScopedEnvironment type("CONTENT_TYPE", "application/pdf");
    const AStore store("sides=two-sided-long-edge MirrorPrint VXwmrSwitch=On collate", "no description", "2");
    EXPECT_EQ(store.fSettings.GetPPDInfo(), nullptr);
    EXPECT_EQ(Describe(store.fSettings), "face-down collated 0");
    EXPECT_FALSE(store.fSettings.GetCUPSOption("MirrorPrint", true));
}
