#include <gtest/gtest.h>

#include <algorithm>
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

/// How a job is started, with a duplex unit besides the statements of the printer description, and what then is known.
struct ACase
{
    std::string fOptions;
    std::string fStatements;
    std::string fExpected;
    const char* fContentType = "application/pdf";
    std::string fCopies = "1";
};

/// The names of all flags that are set, and the orientation.
std::string Describe(const std::string& inOptions, const std::string& inPPD, const std::string& inCopies = "1")
{
    const ATemporaryFolder folder;
    const AScopedEnvironment ppd("PPD", folder.Write("printer.ppd", kMagic + inPPD).c_str());
    std::array<std::string, 6> texts = {"filter", "1", "user", "title", inCopies, inOptions};
    std::array<char*, 7> arguments{};
    std::transform(texts.begin(), texts.end(), arguments.begin(), [](std::string& inText) { return inText.data(); });
    ASettingsStore settings;
    settings.Initialize(static_cast<int>(texts.size()), arguments.data(), environ);
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
        {settings.fWatermarkFirstPageOnly, "first-mark "},
        {settings.fMirrorPrint, "mirrored "},
        {settings.fRedefineShowpage || settings.fJobStorageActive || settings.fBooklet, "too-early "},
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
    const ACase cases[] = {
        // who made the job
        {"", "", "face-down 0"},
        {"", "", "face-down 0", "Text/Plain ; charset=utf-8"},
        {"", "", "native face-down 0", "application/pdfx"},
        {"", "", "native face-down 0", nullptr},
        // page order
        {"OutputOrder=reverse", "", "reverse requested face-down 0"},
        {"outputorder=Reverse", kOrderOption, "requested face-down in-order 0"},
        {"OutputOrder=Reverse", "", "native requested face-down in-order 0", nullptr},
        {"OutputOrder=Normal", "*DefaultOutputOrder: Reverse\n", "face-down 0"},
        {"", "*DefaultOutputOrder: Reverse\n", "reverse requested face-down 0"},
        {"OutputOrder=Normal BinStackOrder=Reverse", "", "in-order 0"},
        {"BinStackOrder=Reverse", "", "reverse 0"},
        {"BinStackOrder=Reverse", kOrderOption, "reverse 0"},
        {"BinStackOrder=Reverse", "", "native in-order 0", nullptr},
        // sides and bins
        {"sides=TWO-sided-long-edge", "", "duplex face-down 0"},
        {"sides=two", "", "face-down 0"},
        {"sides=two-x", kFaceUp, "duplex in-order duplex-face-up 0"},
        {"", kFaceUp, "in-order 0"},
        {"VXFaceOrientation=FaceDown", kFaceUp + kFace, "in-order 0"},
        {"VXFaceOrientation=faceup", kFace, "in-order 0"},
        {"VXFaceOrientation=FaceUp BinStackOrder=x", "", "face-down 0"},
        {"VXFaceOrientation=FaceDown BinStackOrder=Reverse", kFace, "reverse face-down in-order 0"},
        {"VXStraightPaperPath=True", kStraight, "in-order 0"},
        {"VXStraightPaperPath=True sides=two-x", kStraight, "duplex face-down 0"},
        {"VXStraightPaperPath=False BinStackOrder=Reverse", kStraight, "reverse face-down in-order 0"},
        {"VXStraightPaperPath=False BinStackOrder=Reverse", "", "reverse 0"},
        // finishing
        {"VXStapler=upperleft", kStapler180, "face-down rotated 0"},
        {"VXRotate180=True VXStapler=UpperLeft", kStapler180, "face-down 0"},
        {"VXStapler=None", kStapler180, "face-down 0"},
        {"VXStapler=UpperLeft", kFirstRotationWins, "face-down 0"},
        {"VXHidden=UpperLeft", kUnknownRotation, "face-down 0"},
        {"OutputOrder=Reverse VXStapler=UpperLeft", kFinishingOrder, "reverse face-down in-order 0"},
        {"OutputOrder=Reverse VXStapler=LowerLeft", kFinishingOrder, "reverse requested in-order 0"},
        // copies and the first page
        {"collate=True", "", "face-down 0"},
        {"collate", "", "face-down collated 0", "application/pdf", "99999999999999999999"},
        {"collate=True", "", "face-down 0", "application/pdf", "-2"},
        {"collate=separate", "", "face-down 0", "application/pdf", "2"},
        {"collate=True", kCollate, "face-down collated 0", "application/pdf", "2"},
        {"collate=True", kCollateNeedsDisk, "face-down 0", "application/pdf", "2"},
        {"collate=True", "*Collate False: \"\"\n", "face-down 0", "application/pdf", "2"},
        {"AP_FIRSTPAGE_ManualFeed=False", "", "face-down first-page 0"},
        // orientation
        {"orientation-requested=4 " VX_ROWS "=1 " VX_COLUMNS "=2", "", "face-down 0"},
        {"orientation-requested=4 " VX_ROWS "=2 " VX_COLUMNS "=2", "", "face-down 1"},
        {"orientation-requested=5 " VX_ROWS "=3 " VX_COLUMNS "=2", "", "face-down 3"},
        {"orientation-requested=6 " VX_ROWS "=2 " VX_COLUMNS "=3", "", "face-down 2"},
        {"orientation-requested=9 " VX_ROWS "=2 " VX_COLUMNS "=1", "", "face-down 6"},
        {VX_ROWS "=2 " VX_COLUMNS "=1", "", "face-down 1"},
        {VX_ROWS "=2", "", "face-down 0"},
        {"PMPageOrientation=4", "", "face-down 0"},
        {"PMPageOrientation=4 orientation-requested=4", "", "native face-down 2", nullptr},
        {"PMPageOrientation=3", "", "native face-down 1", nullptr},
        {"orientation-requested=4", "", "native face-down 1", nullptr},
        // features that the printer must have
        {"VXwmrSwitch=On", kMarks, "face-down marks 0"},
        {"VXwmrSwitch=Under VXwmrPages=firstpage", kMarks, "face-down marks first-mark 0"},
        {"VXwmrSwitch=off VXwmrPages=FirstPage", kMarks, "face-down 0"},
        {"MirrorPrint", kMirror, "face-down mirrored 0"},
        {"MirrorPrint=false", kMirror, "face-down 0"},
    };
    for (const ACase& test : cases)
    {
        const AScopedEnvironment type("CONTENT_TYPE", test.fContentType);
        EXPECT_EQ(Describe(test.fOptions, kDuplexUnit + test.fStatements, test.fCopies), test.fExpected)
            << test.fOptions << " | " << test.fStatements;
    }
    const AScopedEnvironment type("CONTENT_TYPE", nullptr);
    EXPECT_EQ(Describe("sides=two-sided-long-edge", ""), "native simplex face-down 0");
    const AScopedEnvironment chain("FINAL_CONTENT_TYPE", "application/vnd.cups-postscript");
    EXPECT_EQ(Describe("OutputOrder=Reverse", kDuplexUnit), "native reverse requested face-down 0");
    EXPECT_EQ(Describe("OutputOrder=Reverse", kDuplexUnit + kOrderOption), "native requested face-down in-order 0");
}

TEST(SettingsStore, TheQueuesDescriptionComesFirst)
{
    const ATemporaryFolder root;
    root.Write("ppd/queue.ppd", kMagic + kMirror);
    root.Write("ppd/broken.ppd", "no printer description");
    const AScopedEnvironment serverRoot("CUPS_SERVERROOT", root.GetPath().c_str());
    for (const char* printer : {"queue", "none", "broken", "../ppd/queue", ""})
    {
        const AScopedEnvironment queue("PRINTER", printer);
        EXPECT_EQ(Describe("MirrorPrint VXwmrSwitch=On", kMarks), printer == std::string_view("queue")
                                                                      ? "native simplex face-down mirrored 0"
                                                                      : "native simplex face-down marks 0")
            << printer;
    }
}
