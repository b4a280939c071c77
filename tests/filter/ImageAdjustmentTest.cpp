// Image shift, gray balance and brightness.

#include <gtest/gtest.h>

#include "TestSupport.h"

namespace
{

constexpr const char* kShiftCode =
    "*VXImageShiftDetails Front: \"front %f %.2f\"\n*VXImageShiftDetails Back: \"back %g\"\n";
constexpr const char* kFeatures =
    "%%BeginFeature: *VXImageShiftFront True\nold\n%%EndFeature\n%%BeginFeature: *VXImageShiftBack True\nold\n"
    "%%EndFeature\n";

std::string Block(const std::string& inName, const std::string& inCode)
{
    return "[{\n%%BeginFeature: *" + inName + "\n" + inCode + "\n%%EndFeature\n} stopped cleartomark\n";
}

} // namespace

TEST(ImageShift, FillsTheFeatureOfTheShiftedSideOnly)
{
    EXPECT_EQ(SetupOf("VXImageShiftFront=True VXImageShiftFrontX=25%2E4 VXImageShiftFrontY=-10", kShiftCode, kFeatures),
              "%%BeginFeature: *VXImageShiftFront True\nold\nfront 72.000001 -28.35\n%%EndFeature\n"
              "%%BeginFeature: *VXImageShiftBack True\nold\n%%EndFeature\n");
    EXPECT_EQ(SetupOf("VXImageShiftBack=True VXImageShiftBackX=10 VXRotate180=True", kShiftCode, kFeatures),
              "%%BeginFeature: *VXImageShiftFront True\nold\n%%EndFeature\n"
              "%%BeginFeature: *VXImageShiftBack True\nold\nback -28.3465\n%%EndFeature\n");
}

TEST(ImageShift, AMentionIsNoFeatureAndAMissingEndCostsTheFeatureNotTheJob)
{
    const std::string mention = "% VXImageShiftFront True\n";
    EXPECT_EQ(SetupOf("VXImageShiftFront=True", "", mention + "%%BeginFeature: *VXImageShiftFront True\nold\n"),
              mention + "%%BeginFeature: *VXImageShiftFront True\nold\n\n%%EndFeature\n");
}

TEST(ImageShift, RedefinesTheOperatorsForATurnedDocument)
{
    const auto output = [](const char* inOptions)
    { return RunFilter({.fOptions = inOptions, .fJob = MakeJob(1)}).fOutput; };
    EXPECT_EQ(CountOf(output("VXImageShiftFront=True orientation-requested=4"), "/VXcs matrix def"), 1);
    EXPECT_EQ(CountOf(output("VXImageShiftFront=True"), "/VXcs matrix def"), 0);
}

TEST(GrayBalance, TakesOptionThenPrinterThenBuiltInValues)
{
    AFilterRun run;
    run.fOptions = "VXZone1Limit=30 VXZone3HueLevel2=-7.9";
    run.fPPD = MakePPD("*VXGrayBalanceAdjustment VXZone1Limit: \"lower rank\"\n"
                       "*VXGrayBalanceAdjustment VXZone3HueLevel2: \"hue %d\"\n"
                       "*VXControlPSCode VXZone1Limit: \"one %d 100%%\"\n*VXControlPSCode VXZone2Limit: \"two %d\"\n"
                       "*VXControlPSCode VXZone3Limit: \"three %d\"\n*VXControlDefaultValue VXZone2Limit: \"55\"\n");
    run.fJob = MakeJob(1);
    EXPECT_EQ(Between(RunFilter(run).fOutput, "%%EndProlog\n", "%%BeginSetup"),
              Block("VXGrayBalanceAdjustment VXZone1Limit", "one 30 100%") +
                  Block("VXGrayBalanceAdjustment VXZone2Limit", "two 55") +
                  Block("VXGrayBalanceAdjustment VXZone3Limit", "three 75") +
                  Block("VXGrayBalanceAdjustment VXZone3HueLevel2", "hue -7"));
}

TEST(LightnessAndHue, WritesTheInksThatHaveCodeAndValue)
{
    const std::string sliders =
        "*VXCyanBrightness: \"-1\"\n*VXMagentaBrightness: \"-1\"\n*VXYellowBrightness: \"-1\"\n"
        "*VXControlPSCode VXCyanBrightness: \"c %d\"\n*VXControlDefaultValue VXCyanBrightness: \"5\"\n"
        "*VXControlPSCode VXMagentaBrightness: \"m %d\"\n*VXControlPSCode VXBlackBrightness: \"k %d\"\n";
    AFilterRun run;
    run.fOptions = "VXBlackBrightness=12 VXYellowBrightness=3";
    run.fPPD = MakePPD(sliders + "*VXBlackBrightness: \"-1\"\n");
    run.fJob = MakeJob(1);
    EXPECT_EQ(Between(RunFilter(run).fOutput, "%%EndProlog\n", "%%BeginSetup"),
              Block("VXCyanBrightness 5", "c 5") + Block("VXBlackBrightness 12", "k 12"));
    run.fPPD = MakePPD(sliders + "*VXBlackBrightness: \"100\"\n");
    EXPECT_EQ(RunFilter(run).fOutput, run.fJob + "\x04");
}
