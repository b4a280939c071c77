// What the features write into a job, run by Ghostscript: the pages must find everything as they would without it.

#include <gtest/gtest.h>

#include <sstream>
#include <vector>

#include "TemporaryFolder.h"
#include "TestSupport.h"

namespace
{

constexpr const char* kStatements = R"(*MirrorPrint: "True"
*VXInsertOrientation Portrait/P: "<< /Duplex false >> setpagedevice"
*VXInsertOrientation Landscape/L: "<< /Duplex true >> setpagedevice"
*VXJobRetentionPersonal_PIN True/On: "/HoldType 1"
*InputSlot First/F: "<< /MediaPosition 1 >> setpagedevice"
*InputSlot Rest/R: "<< /MediaPosition 2 >> setpagedevice"
*VXwmrSwitch: "True"
*VXBookletFilter: "True"
*VXHoldJobAction: "preview"
*VXHoldJob: "True"
*VXMarginsLayoutMode Standard/S: "<< /Margins [0 0] >> setpagedevice"
*VXCustomMediaTypePSCode: "<< /MediaType (%s) >> pop"
*VXImageShiftDetails Front/F: "%f %f translate"
*VXGrayBalanceAdjustment VXZone1Limit/L: "<< /Limit %d >> pop"
*VXCyanBrightness: "-1"
*VXMagentaBrightness: "-1"
*VXYellowBrightness: "-1"
*VXBlackBrightness: "-1"
*VXControlPSCode VXCyanBrightness/C: "<< /Cyan %s >> pop"
)";

constexpr const char* kStorage = R"(%%BeginFeature: *VXUserName Set
%%EndFeature
%%BeginFeature: *VXJobName Set
%%EndFeature
%%BeginFeature: *VXUsePINToPrint True
<< /CollateDetails << /HoldKey (%s) >> >> setpagedevice
%%EndFeature
%%BeginFeature: *Collate False
<< /Collate false >> setpagedevice
%%EndFeature
[{
%%BeginFeature: *VXJobRetentionOption RETENTION
<< /CollateDetails << /Type 8
 /Hold 1 %s
>> >> setpagedevice
%%EndFeature
} stopped cleartomark
)";

constexpr const char* kPageFeatures = R"(%%BeginFeature: *MediaType Plain
(plain) pop
%%EndFeature
%%BeginFeature: *VXMarginsLayoutMode Oversize
(oversize) pop
%%EndFeature
%%BeginFeature: *PageSize A4
<< /PageSize [595 842] >> setpagedevice
%%EndFeature
)";

/// What PostScript printers of language level 2 do not have, taken away.
constexpr const char* kLevel2 =
    "%!\nuserdict begin /languagelevel 2 def { addglyph clipsave cliprestore composefont currentsmoothness\n"
    "setsmoothness findcolorrendering removeall removeglyphs shfill settrapparams settrapzone currenttrapparams\n"
    "setobjectformat3 GetHalftoneName GetPageDeviceName GetSubstituteCRD } { { stop } def } forall end\n";

/// Leaves two operands on the stack for the pages to find, which say what they find.
std::string MakeProbedJob(const std::string& inFeatures)
{
    std::string job = "%!PS-Adobe-3.0\n%%EndComments\n%%BeginProlog\n/a /b\n%%EndProlog\n%%BeginSetup\n" + inFeatures +
                      "%%EndSetup\n";
    for (const char* const page : {"1", "2", "3"})
    {
        job += std::string("%%Page: ") + page + " " + page +
               "\n%%BeginPageSetup\n%%EndPageSetup\n(stacks: )print count =only ( )print countdictstack =\n"
               "(dictionary: )print currentdict userdict eq =\n(matrix: )print matrix currentmatrix ==\n"
               "(tray: )print currentpagedevice /MediaPosition 2 copy known {get ==} {pop pop (none) =} ifelse\n"
               "pstack 0 0 9 9 rectfill showpage\n";
    }
    return job + "%%Trailer\n(end: )print count =only ( )print countdictstack =\n%%EOF\n";
}

struct AFeature
{
    std::string fOptions;
    std::string fSetup = "";
    const char* fStatements = "";
};

/// What the pages say, and a line for each page that is shown; nothing of places if they are meant to move: the pages
/// find another matrix or tray then, or mark other places.
std::string Print(const AFeature& inFeature, const std::string& inLevel, bool inMovesPages = false)
{
    AFilterRun run;
    run.fOptions = inFeature.fOptions + " VXCustomUserName=%28%5c VXCustomJobName=%29 VXPinToPrintExtended=%28%5c "
                                        "VXUsePINToPrint=True VXwmCodedTextMessage=%28a%5c";
    run.fPPD = MakePPD(std::string(kStatements) + inFeature.fStatements);
    run.fJob = MakeProbedJob(inFeature.fSetup);
    run.fTitle = "(unbalanced \\";
    const ATemporaryFolder folder;
    std::istringstream lines(
        RunGhostscript("-dSAFER -sDEVICE=bbox " + folder.Write("level.ps", inLevel), RunFilter(run).fOutput));
    std::string said;
    for (std::string line; std::getline(lines, line);)
    {
        const bool isPlace = line.starts_with("%%") || line.starts_with("matrix: ") || line.starts_with("tray: ");
        said += isPlace && inMovesPages ? "" : line + "\n";
        said += line.starts_with("%%BoundingBox") ? "shown\n" : "";
    }
    EXPECT_EQ(said.find("Error"), std::string::npos) << inFeature.fOptions << '\n' << said;
    return said;
}

std::string Storage(const char* inRetention)
{
    return Replace(kStorage, "RETENTION", inRetention);
}

/// Each printer's language level and all features are held against a job that asks for none.
void ExpectNoTrace(const std::vector<AFeature>& inFeatures, bool inMovesPages)
{
    for (const char* const level : {"%!\n", kLevel2})
    {
        const std::string plain = Print({""}, level, inMovesPages);
        ASSERT_NE(plain, "");
        for (const AFeature& feature : inFeatures)
        {
            EXPECT_EQ(Print(feature, level, inMovesPages), plain) << feature.fOptions;
        }
    }
}

} // namespace

TEST(InjectedFeatures, LeaveThePagesAsTheyWere)
{
    ExpectNoTrace({{"PMPageOrientation=2"},
                   {"VXCustomMediaTypeID=7 VXCustomMediaTypeName=x media=A4", kPageFeatures},
                   {"media=Custom.300x400 Product=7300vq PPDVersion=1.0"},
                   {"VXHoldJob=True"},
                   {"VXAccountingInfo=1", "", "*VXAccountingInfo: \"2\"\n"},
                   {"VXJobAccounting=True", "", "*VXAccountingInfo: \"3\"\n*DefaultVXJobAccounting: True\n"},
                   {"sides=two-sided-long-edge"},
                   {"VXJobRetention=VXJobRetentionPrivate", Storage("VXJobRetentionPrivate")},
                   {"VXJobRetention=VXJobRetentionProof", Storage("VXJobRetentionProof")},
                   {"VXJobRetention=VXJobRetentionPersonal", Storage("VXJobRetentionPersonal")}},
                  false);
}

TEST(InjectedFeatures, MoveOrMarkThePagesAndNothingElse)
{
    const std::string shift = "%%BeginFeature: *VXImageShiftFront True\n%%EndFeature\n";
    ExpectNoTrace({{"VXwmrSwitch=Watermark VXwmrTextStyle=Halo"},
                   {"VXwmrSwitch=Overlay AP_FIRSTPAGE_InputSlot=First InputSlot=Rest"},
                   {"VXwmrSwitch=Overlay VXwmrTextStyle=Fill orientation-requested=4"},
                   {"VXImageShiftFront=True VXImageShiftFrontX=10", shift},
                   {"VXImageShiftFront=True PMPageOrientation=2 VXJobRetention=VXJobRetentionPrivate "
                    "VXwmrSwitch=Overlay sides=two-sided-long-edge VXHoldJob=True",
                    shift + Storage("VXJobRetentionPrivate") + kPageFeatures}},
                  true);
}
