#include <gtest/gtest.h>

#include "TestSupport.h"

namespace
{

constexpr const char* kCodes = R"(*VXInsertOrientation Portrait/P: "upright"
*VXInsertOrientation Landscape/L: "turned left"
*VXInsertOrientation ReversePortrait/RP: "upside down"
*VXInsertOrientation ReverseLandscape/RL: "turned right"
)";

// Guide pages between landscape pages.
constexpr const char* kGuides = " VXManualDuplexSupport=True VXManualDuplexSwitch=True VXManualDuplexPrintGuide=True "
                                "orientation-requested=4";

AFilterRun OrientationRun(std::string inOptions, std::string inJob)
{
    return {.fOptions = std::move(inOptions), .fJob = std::move(inJob), .fPPD = MakeSimplexPPD(kCodes)};
}

} // namespace

TEST(Orientation, TheSetupGetsTheCodeOnce)
{
    const std::string booklet = " VXBookletFilter=True";
    const std::pair<std::string, const char*> cases[] = {
        {"1", "Portrait\nupright"},
        {"2", "Landscape\nturned left"},
        {"3", "ReversePortrait\nupside down"},
        {"4", "ReverseLandscape\nturned right"},
        {"reverseLANDSCAPE", "ReverseLandscape\nturned right"},
        {"Portrait", "Portrait\nupright"},
        {"1" + booklet, "Landscape\nturned left"},
        {"2" + booklet, "Portrait\nupright"},
        {"3" + booklet, "ReverseLandscape\nturned right"},
        {"4" + booklet, "ReversePortrait\nupside down"},
    };
    for (const auto& [value, code] : cases)
    {
        AFilterRun run = OrientationRun("PMPageOrientation=" + value, MakeJob(4, "%%BeginSetup\n"));
        run.fPPD += "*VXBookletFilter True/On: \"\"\n";
        EXPECT_EQ(Between(RunFilter(run).fOutput, "%%BeginSetup\n", "%%EndSetup"),
                  std::string("%%BeginFeature: *VXInsertOrientation ") + code + "\n%%EndFeature\n%%BeginSetup\n")
            << value;
    }
}

TEST(Orientation, NothingIsWrittenWithoutACodeForTheValue)
{
    for (const char* const options : {"", "PMPageOrientation=0", "PMPageOrientation=5", "PMPageOrientation=11"})
    {
        const AFilterRun run = OrientationRun(options, MakeJob(1));
        EXPECT_EQ(RunFilter(run).fOutput, run.fJob + "\x04") << options;
    }
    AFilterRun run = OrientationRun("PMPageOrientation=1", MakeJob(1));
    run.fPPD = MakePPD("*VXInsertOrientation Landscape/L: \"turned left\"\n");
    const AFilterResult result = RunFilter(run);
    EXPECT_EQ(result.fOutput, run.fJob + "\x04");
    EXPECT_TRUE(result.IsLogged("kProcessingError != inReturnStatus assertion failed"));
}

TEST(Orientation, GuidePagesBetweenLandscapePagesAreUpright)
{
    const AFilterRun run = OrientationRun(std::string("PMPageOrientation=2") + kGuides, MakeJob(2));
    const std::string output = RunFilter(run).fOutput;
    EXPECT_EQ(output.find("VXInsertOrientation"), std::string::npos);
    EXPECT_TRUE(
        Between(output, "(reinsertion) 1\n", "%%Page:").value_or("").starts_with("matrix VXcurrent\nupright\nVXset\n"));
    for (const char* const page : {"%%Page: 2 2\n", "%%Page: 3 3\n"})
    {
        EXPECT_TRUE(Between(output, page, "show").value_or("").starts_with("matrix VXcurrent\nturned left\nVXset\n"));
    }
}

TEST(Orientation, WithoutUprightGuidesTheCodeStaysInTheSetup)
{
    AFilterRun noGuide = OrientationRun(std::string("PMPageOrientation=2") + kGuides, MakeJob(2));
    AFilterRun noLandscape = noGuide;
    AFilterRun noCode = noGuide;
    AFilterRun uprightSheets = noGuide;
    noGuide.fOptions = Replace(noGuide.fOptions, "PrintGuide=True", "PrintGuide=False");
    noLandscape.fOptions = Replace(noLandscape.fOptions, "requested=4", "requested=3");
    noCode.fPPD = Replace(noCode.fPPD, "*VXInsertOrientation Portrait/P: \"upright\"\n", "");
    uprightSheets.fOptions += " VXBookletFilter=True";
    uprightSheets.fPPD += "*VXBookletFilter True/On: \"\"\n";
    for (const AFilterRun& run : {noGuide, noLandscape, noCode, uprightSheets})
    {
        EXPECT_EQ(CountOf(RunFilter(run).fOutput, "%%BeginFeature: *VXInsertOrientation"), 1) << run.fOptions;
    }
}
