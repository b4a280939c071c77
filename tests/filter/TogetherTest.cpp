// All features in one job, and none of them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "TestSupport.h"

namespace
{

constexpr const char* kEverything = R"ppd(*MirrorPrint: "True"
*VXInsertOrientation Portrait: "% portrait"
*VXAccountingInfo: "2"
*VXGrayBalanceAdjustment VXZone1Limit: "(limit %d)"
*VXImageShiftDetails Front: "(shift %.1f %.1f)"
*VXMarginsLayoutMode: "True"
*VXMarginsLayoutMode Standard: "% margins"
*VXwmrSwitch: "True"
*OpenUI *InputSlot: PickOne
*DefaultInputSlot: Tray1
*InputSlot Tray1: "% tray 1"
*InputSlot Tray2: "% tray 2"
*CloseUI: *InputSlot
)ppd";

constexpr const char* kFeatures =
    "[{\n%%BeginFeature: *VXJobRetentionOption VXJobRetentionPrivate\n% hold\n%%EndFeature\n"
    "} stopped cleartomark\n"
    "%%BeginFeature: *VXMarginsLayoutMode Oversize\n% oversize\n%%EndFeature\n"
    "%%BeginFeature: *VXImageShiftFront True\n%%EndFeature\n"
    "%%BeginFeature: *MirrorPrint True\n% mirror\n%%EndFeature\n";

} // namespace

TEST(Together, EveryFeatureFindsItsPlaceInOneJob)
{
    AFilterRun run;
    run.fPPD = MakePPD(kEverything);
    run.fJob = MakeJob(3, kFeatures);
    run.fOptions = "MirrorPrint=True PMPageOrientation=1 VXImageShiftFront=True VXImageShiftFrontX=25.4 media=A4 "
                   "VXJobRetentionOption=VXJobRetentionPrivate VXPinToPrintExtended=1234 VXwmrSwitch=Overlay "
                   "sides=two-sided-long-edge AP_FIRSTPAGE_InputSlot=Tray2 InputSlot=Tray1 orientation-requested=3";
    run.fEnvironment = {{"CONTENT_TYPE", "application/pdf"}};
    const AFilterResult result = RunFilter(run);
    EXPECT_EQ(result.fStatus, 0);
    std::size_t at = 0;
    std::istringstream places(
        "/VXshowpage/showpage load def|%%EndComments\n|%%BeginProlog\n|VXAccountingInfo|(limit 25)|%%BeginSetup\n|"
        "*VXInsertOrientation Portrait\n% portrait|*Collate True|*VXJobRetentionOption|/HoldKey (1234)|% margins|"
        "*VXImageShiftFront True|(shift 72.0 0.0)|-1 1 matrix scale|/VXwmDrawing|%%EndSetup\n|"
        "%%Page: 1 1\n|% tray 2|(page 1) show|VXwmDraw\n|VXshowpage\n|%%Page: 2 2\n|(page 2) show|VXwmDraw\n|"
        "%%Page: 3 3\n|% tray 1|/Duplex false|VXwmDraw\n|VXshowpage\n|%%Trailer\n");
    for (std::string text; std::getline(places, text, '|');)
    {
        const std::size_t found = result.fOutput.find(text, at);
        EXPECT_NE(found, std::string::npos) << text << " is missing, or stands before its place";
        at = found == std::string::npos ? at : found;
    }
    EXPECT_THAT(result.fOutput, testing::Not(testing::HasSubstr("% oversize")));
    EXPECT_THAT(result.fOutput, testing::Not(testing::HasSubstr("% mirror\n")));
    EXPECT_FALSE(result.IsLogged("1234"));
}

TEST(Together, AJobThatAsksForNothingComesOutAsItWentIn)
{
    // Page content that looks like much of what the filter looks for, and is not.
    const std::string content = "(%%Page: 1 1) show\nx %%Trailer\n% VXImageShiftFront\r\n(VXUserName) show\r" +
                                std::string(9000, '\xff') + "%%BeginFeature: *Foo\n%%EndFeature\n%%EOF later\n" +
                                std::string(140000, 'a') + "*Duplex *PageSize\n\n%%EndSetup\n";
    const std::string job = Replace(MakeJob(3), "(page 2) show\n", content);
    const char* const options =
        "MirrorPrint=True VXwmrSwitch=On number-up=2 VXImageShiftFrontX=3 VXUUID=1 VXPinToPrintExtended=9";
    for (const bool fromFile : {false, true})
    {
        EXPECT_EQ(RunFilter({.fOptions = options, .fJob = job, .fFromFile = fromFile}).fOutput, job + "\x04");
    }
}
