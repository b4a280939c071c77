#include <gtest/gtest.h>

#include <array>

#include "Foundation/SettingsStore.h"
#include "ScopedEnvironment.h"
#include "TemporaryFolder.h"

namespace
{

const std::string kMagic = "*PPD-Adobe: \"4.3\"\n";
const std::string kDuplexUnit =
    "*OpenUI *Duplex: PickOne\n*Duplex None: \"\"\n*Duplex DuplexTumble: \"\"\n*CloseUI: *Duplex\n";
const std::string kOrderOption = "*OpenUI *OutputOrder: PickOne\n*OutputOrder Normal: \"\"\n"
                                 "*OutputOrder Reverse: \"\"\n*CloseUI: *OutputOrder\n";
const std::string kFaceUp = "*DefaultVXFaceOrientation: FaceUp\n";
const std::string kFace = "*VXFaceOrientation FaceUp: \"x\"\n";
const std::string kStraight = "*VXStraightPaperPath True: \"x\"\n";
const std::string kStapler = "*VXStapler UpperLeft: \"x\"\n";
const std::string kStapler180 = kStapler + "*VXFinishingRotation VXStapler: \"UpperLeft=180\"\n";
const std::string kCollate =
    "*OpenUI *Collate: Boolean\n*Collate True: \"\"\n*Collate False: \"\"\n*CloseUI: *Collate\n";
const std::string kCollateNeedsDisk =
    kCollate +
    "*OpenGroup: InstallableOptions/Installed\n*OpenUI *VXDisk: Boolean\n*DefaultVXDisk: False\n*VXDisk False: \"\"\n"
    "*VXDisk True: \"\"\n*CloseUI: *VXDisk\n*CloseGroup: InstallableOptions\n"
    "*UIConstraints: *VXDisk False *Collate True\n*UIConstraints: *Collate True *VXDisk False\n";
const std::string kMarks = "*VXwmrSwitch On: \"x\"\n";
const std::string kMirror = "*MirrorPrint True: \"x\"\n";

// What cannot be read is passed over, and of the rest the first counts.
const std::string kFirstRotationWins =
    kStapler + "*VXFinishingRotation: \"UpperLeft=180\"\n"
               "*VXFinishingRotation VXStapler: \"UpperLeft=180=180\"\n*VXFinishingRotation VXStapler: \"180\"\n"
               "*VXFinishingRotation VXStapler: \"UpperLeft=90\"\n*VXFinishingRotation VXStapler: \"UpperLeft=180\"\n";
const std::string kUnknownRotation = "*VXFinishingRotation VXHidden: \"UpperLeft=180\"\n";
const std::string kFinishingOrder = kStapler + "*VXFinishingPageOrder VXStapler: \"UpperLeft=Normal\"\n"
                                               "*VXFinishingPageOrder VXStapler: \"LowerLeft=Reverse\"\n";

#define VX_ROWS "com.apple.print.PrintSettings.PMLayoutRows..n."
#define VX_COLUMNS "com.apple.print.PrintSettings.PMLayoutColumns..n."

/// The names of all flags that are set for a job that is started this way, and the orientation.
std::string Describe(std::string inOptions, const std::string& inStatements = "",
                     const char* inContentType = "application/pdf", std::string inCopies = "1",
                     const std::string& inHead = kMagic + kDuplexUnit)
{
    const ATemporaryFolder folder;
    const AScopedEnvironment type("CONTENT_TYPE", inContentType);
    const AScopedEnvironment ppd("PPD", folder.Write("printer.ppd", inHead + inStatements).c_str());
    std::array<char*, 6> arguments = {nullptr, nullptr, nullptr, nullptr, inCopies.data(), inOptions.data()};
    ASettingsStore settings;
    settings.Initialize(static_cast<int>(arguments.size()), arguments.data(), environ);
    const std::pair<bool, const char*> flags[] = {
        {settings.fIsNativePostScript, "native "},
        {settings.fShouldReversePages, "reverse "},
        {settings.fReverseOrderRequested, "requested "},
        {!settings.fDuplexSupported, "simplex "},
        {settings.fIsDuplex, "duplex "},
        {settings.fFaceDownOutput, "face-down "},
        {settings.fFinishingInOrder, "in-order "},
        {settings.fDuplexFaceUp, "duplex-face-up "},
        {settings.fRotate180, "rotated "},
        {settings.fFirstPageDifferent, "first-page "},
        {settings.fCollate, "collated "},
        {settings.fWatermarksOn, "marks "},
        {settings.fMirrorPrint, "mirrored "},
    };
    std::string text;
    for (const auto& [isSet, name] : flags)
    {
        text += isSet ? name : "";
    }
    return text + std::to_string(settings.fOrientation);
}

} // namespace

TEST(SettingsStore, KnowsTheJobFromItsOptionsAndThePrinter)
{
    const AScopedEnvironment printer("PRINTER", nullptr);
    const AScopedEnvironment chain("FINAL_CONTENT_TYPE", nullptr);
    // who made the job
    EXPECT_EQ(Describe(""), "face-down 0");
    EXPECT_EQ(Describe("", "", "Text/Plain ; charset=utf-8"), "face-down 0");
    EXPECT_EQ(Describe("", "", "application/pdfx"), "native face-down 0");
    // page order
    EXPECT_EQ(Describe("OutputOrder=reverse"), "reverse requested face-down 0");
    EXPECT_EQ(Describe("outputorder=Reverse", kOrderOption), "requested face-down in-order 0");
    EXPECT_EQ(Describe("OutputOrder=Reverse", "", nullptr), "native requested face-down in-order 0");
    EXPECT_EQ(Describe("OutputOrder=Normal", "*DefaultOutputOrder: Reverse\n"), "face-down 0");
    EXPECT_EQ(Describe("", "*DefaultOutputOrder: Reverse\n"), "reverse requested face-down 0");
    EXPECT_EQ(Describe("OutputOrder=Normal BinStackOrder=Reverse"), "in-order 0");
    EXPECT_EQ(Describe("BinStackOrder=Reverse", kOrderOption), "reverse 0");
    EXPECT_EQ(Describe("BinStackOrder=Reverse", "", nullptr), "native in-order 0");
    // sides and bins
    EXPECT_EQ(Describe("sides=TWO-sided-long-edge"), "duplex face-down 0");
    EXPECT_EQ(Describe("sides=two"), "face-down 0");
    EXPECT_EQ(Describe("sides=two-x", kFaceUp), "duplex in-order duplex-face-up 0");
    EXPECT_EQ(Describe("VXFaceOrientation=FaceDown", kFaceUp + kFace), "in-order 0");
    EXPECT_EQ(Describe("VXFaceOrientation=faceup", kFace), "in-order 0");
    EXPECT_EQ(Describe("VXFaceOrientation=FaceUp BinStackOrder=x"), "face-down 0");
    EXPECT_EQ(Describe("VXFaceOrientation=FaceDown BinStackOrder=Reverse", kFace), "reverse face-down in-order 0");
    EXPECT_EQ(Describe("VXStraightPaperPath=True", kStraight), "in-order 0");
    EXPECT_EQ(Describe("VXStraightPaperPath=True sides=two-x", kStraight), "duplex face-down 0");
    EXPECT_EQ(Describe("VXStraightPaperPath=False BinStackOrder=Reverse", kStraight), "reverse face-down in-order 0");
    EXPECT_EQ(Describe("VXStraightPaperPath=False BinStackOrder=Reverse"), "reverse 0");
    // finishing
    EXPECT_EQ(Describe("VXStapler=upperleft", kStapler180), "face-down rotated 0");
    EXPECT_EQ(Describe("VXRotate180=True VXStapler=UpperLeft", kStapler180), "face-down 0");
    EXPECT_EQ(Describe("VXStapler=None", kStapler180), "face-down 0");
    EXPECT_EQ(Describe("VXStapler=UpperLeft", kFirstRotationWins), "face-down 0");
    EXPECT_EQ(Describe("VXHidden=UpperLeft", kUnknownRotation), "face-down 0");
    EXPECT_EQ(Describe("OutputOrder=Reverse VXStapler=UpperLeft", kFinishingOrder), "reverse face-down in-order 0");
    EXPECT_EQ(Describe("OutputOrder=Reverse VXStapler=LowerLeft", kFinishingOrder), "reverse requested in-order 0");
    // copies and the first page
    EXPECT_EQ(Describe("collate=True"), "face-down 0");
    EXPECT_EQ(Describe("collate", "", "application/pdf", "99999999999999999999"), "face-down collated 0");
    EXPECT_EQ(Describe("collate=True", kCollate, "application/pdf", "2"), "face-down collated 0");
    EXPECT_EQ(Describe("collate=True", kCollateNeedsDisk, "application/pdf", "2"), "face-down 0");
    EXPECT_EQ(Describe("collate=True", "*Collate False: \"\"\n", "application/pdf", "2"), "face-down 0");
    EXPECT_EQ(Describe("AP_FIRSTPAGE_ManualFeed=False"), "face-down first-page 0");
    // orientation
    EXPECT_EQ(Describe("orientation-requested=4 " VX_ROWS "=1 " VX_COLUMNS "=2"), "face-down 0");
    EXPECT_EQ(Describe("orientation-requested=4 " VX_ROWS "=2 " VX_COLUMNS "=2"), "face-down 1");
    EXPECT_EQ(Describe("orientation-requested=5 " VX_ROWS "=3 " VX_COLUMNS "=2"), "face-down 3");
    EXPECT_EQ(Describe("orientation-requested=9 " VX_ROWS "=2 " VX_COLUMNS "=1"), "face-down 6");
    EXPECT_EQ(Describe(VX_ROWS "=2"), "face-down 0");
    EXPECT_EQ(Describe("PMPageOrientation=4"), "face-down 0");
    EXPECT_EQ(Describe("PMPageOrientation=4 orientation-requested=4", "", nullptr), "native face-down 2");
    EXPECT_EQ(Describe("orientation-requested=4", "", nullptr), "native face-down 1");
    // features that the printer must have
    EXPECT_EQ(Describe("VXwmrSwitch=off", kMarks), "face-down 0");
    EXPECT_EQ(Describe("MirrorPrint=false", kMirror), "face-down 0");
    // of a printer without a duplex unit, and in a chain of filters
    EXPECT_EQ(Describe("sides=two-sided-long-edge", "", nullptr, "1", kMagic), "native simplex face-down 0");
    const AScopedEnvironment inChain("FINAL_CONTENT_TYPE", "application/vnd.cups-postscript");
    EXPECT_EQ(Describe("OutputOrder=Reverse", "", nullptr), "native reverse requested face-down 0");
    EXPECT_EQ(Describe("OutputOrder=Reverse", kOrderOption, nullptr), "native requested face-down in-order 0");
}

TEST(SettingsStore, TheQueuesDescriptionComesFirst)
{
    const ATemporaryFolder root;
    root.Write("ppd/queue.ppd", kMagic + kMirror);
    root.Write("ppd/broken.ppd", "no printer description");
    const AScopedEnvironment serverRoot("CUPS_SERVERROOT", root.GetPath().c_str());
    for (const char* queue : {"queue", "none", "broken", "../ppd/queue", ""})
    {
        const AScopedEnvironment printer("PRINTER", queue);
        const char* const flag = queue == std::string_view("queue") ? "mirrored" : "marks";
        EXPECT_NE(Describe("MirrorPrint VXwmrSwitch=On", kMarks).find(flag), std::string::npos) << queue;
    }
}
