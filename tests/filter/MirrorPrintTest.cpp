#include <gtest/gtest.h>

#include "TestSupport.h"

namespace
{

constexpr const char* kMirror = "*VXDummy: \"\"\n*MirrorPrint True/On: \"\"\n";

AFilterRun MirrorRun(std::string inJob)
{
    return {.fOptions = "MirrorPrint=True", .fJob = std::move(inJob), .fPPD = MakePPD(kMirror)};
}

constexpr const char* kCode =
    "-1 1 matrix scale currentpagedevice/PageSize get 0 get 0 matrix translate userdict /VXcs "
    "get concatmatrix\nVXsetCS\n%%EndSetup\n";

} // namespace

TEST(MirrorPrint, MirrorsInTheSetupAndDropsTheJobsOwnFeature)
{
    const std::string feature = "%%BeginFeature: *MirrorPrint True\nmirror code\n%%EndFeature\n";
    const AFilterResult result = RunFilter(MirrorRun(MakeJob(2, "% MirrorPrint\n" + feature)));
    EXPECT_EQ(Between(result.fOutput, "%%BeginSetup\n", "%%Page:"), std::string("% MirrorPrint\n") + kCode);
    EXPECT_EQ(result.fStatus, 0);
}

TEST(MirrorPrint, AMissingEndCostsTheFeatureNotTheJob)
{
    const AFilterResult result = RunFilter(MirrorRun(MakeJob(2, "%%BeginFeature: *MirrorPrint True\nmirror code\n")));
    EXPECT_EQ(Between(result.fOutput, "%%BeginSetup\n", "%%Page:"), kCode);
}

TEST(MirrorPrint, AJobWithoutSetupOrTrailerGetsBoth)
{
    const AFilterResult result = RunFilter(MirrorRun("%!PS-Adobe-3.0\n%%EndComments\n%%Page: 1 1\nshowpage\n\x04"));
    const std::string expected =
        std::string(kCode) + "%%Page: 1 1\nshowpage\nVXsave\nVXshowpage\nVXrestore\n%%Trailer\n\x04";
    EXPECT_TRUE(result.fOutput.ends_with(expected)) << result.fOutput;
    const AFilterResult shortest = RunFilter(MirrorRun("%!PS-Adobe-3.0\n%%EndComments\n%%Page: 1 1\x04"));
    EXPECT_TRUE(shortest.fOutput.ends_with(Replace(expected, "showpage\n", ""))) << shortest.fOutput;
}

TEST(MirrorPrint, NothingHappensWithoutThePrintersSupport)
{
    AFilterRun run = MirrorRun(MakeJob(1));
    run.fPPD = MakePPD("");
    EXPECT_EQ(RunFilter(run).fOutput, run.fJob + "\x04");
}
