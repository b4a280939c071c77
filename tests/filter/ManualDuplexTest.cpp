#include <gtest/gtest.h>

#include <vector>

#include "TemporaryFolder.h"
#include "TestSupport.h"

namespace
{

/// Guide pages of one line that tells their name.
class AGuideFolder : public ATemporaryFolder
{
public:
    explicit AGuideFolder(const std::vector<std::string>& inNames)
    {
        for (const std::string& name : inNames)
        {
            RunShell("gzip " + Write("guides/" + name, "guide " + name + "\n"));
        }
    }
};

AFilterRun ManualRun(int inPages, const std::string& inOptions, const std::string& inResources = "/none")
{
    return {.fOptions = "VXManualDuplexSupport=True VXManualDuplexSwitch=True " + inOptions,
            .fJob = MakeJob(inPages),
            .fPPD = MakeSimplexPPD(""),
            .fEnvironment = {{"VX_RESOURCES", inResources}}};
}

std::string PageText(const std::string& inNumber)
{
    return "%%BeginPageSetup\n%%EndPageSetup\n(page " + inNumber +
           ") show\nshowpage\n%%PageTrailer\n"
           "VXsave\nVXshowpage\nVXrestore\n";
}

std::string ManualFeed(const std::string& inBackSide = "<</PrintOnBackside true>> setpagedevice")
{
    return "matrix VXcurrent\nmark\n/DefM matrix defaultmatrix def\n\n" + inBackSide +
           "\n<</ManualFeed true>> setpagedevice\n\n/DefM1 matrix defaultmatrix def\n\n/DefT matrix def\nDefM1 DefM "
           "matrix invertmatrix DefT concatmatrix\ncleartomark\nVXset\nDefT concat\n";
}

constexpr const char* kTurnA4 = "595.0 842.0 translate 180 rotate\n";
constexpr const char* kFeedOff = "matrix VXcurrent\n<</ManualFeed false>> setpagedevice\nVXset\n\n";
constexpr const char* kShowGuide = "VXsave\nVXshowpage\nVXrestore\n";

std::string PagesOf(const AFilterResult& inResult)
{
    return Between(inResult.fOutput, "%%EndSetup\n", "%%EOF\n\x04").value_or(inResult.fOutput);
}

} // namespace

TEST(ManualDuplex, PrintsTheBacksTurnedThenTheFrontsByManualFeed)
{
    const AFilterResult result = RunFilter(ManualRun(3, "media=A4"));
    EXPECT_EQ(PagesOf(result), std::string(kFeedOff) + "%%Page: 1 1\n" + kTurnA4 + kShowGuide + "%%Page: 2 2\n" +
                                   kTurnA4 + PageText("2") + "%%Page: 3 3\n" + ManualFeed() + PageText("1") +
                                   "%%Page: 4 4\n" + PageText("3") + "%%Trailer\n%%Pages: 4\n");
    EXPECT_EQ(result.fStatus, 0);
}

TEST(ManualDuplex, InsertsGuidesWhereThePassesBeginAndEnd)
{
    const AGuideFolder guides({"longDownGuide", "recycledGuide"});
    const AFilterResult result =
        RunFilter(ManualRun(2,
                            "media=A4 VXManualDuplexPrintGuide=True PaperFeedEdge=LONG SecondSideCode=back "
                            "VXManualDuplexOrientation=DuplexTumble",
                            guides.GetPath()));
    EXPECT_EQ(PagesOf(result), std::string(kFeedOff) + "%%Page: (reinsertion) 1\n" + kTurnA4 +
                                   "guide longDownGuide\n%%EOF\n" + kShowGuide + "%%Page: 2 2\n" + PageText("2") +
                                   "%%Page: 3 3\n" + ManualFeed("back") + PageText("1") + "%%Page: (reinsertion) 4\n" +
                                   kTurnA4 + "guide recycledGuide\n%%EOF\n" + kShowGuide + "%%Trailer\n%%Pages: 4\n");
}

TEST(ManualDuplex, ChoosesAndTurnsTheGuide)
{
    const std::string turned = kTurnA4;
    const std::string turnedIf = "cond{\n" + turned + "}{}ifelse\n";
    const std::string beginning = "%%Page: (reinsertion) 1\n";
    const AGuideFolder guides(
        {"shortDownGuide", "shortUpGuide", "eitherRightDownTop", "eitherLeftUpBottom", "recycledGuide"});
    const auto guideOf = [&](const std::string& inOptions)
    {
        const AFilterRun run = ManualRun(2, "media=A4 VXManualDuplexPrintGuide=True " + inOptions, guides.GetPath());
        return Between(RunFilter(run).fOutput, beginning, "\n%%EOF");
    };
    EXPECT_EQ(guideOf(""), turned + "guide shortDownGuide");
    EXPECT_EQ(guideOf("VXRotate180=True"), "guide shortDownGuide");
    EXPECT_EQ(guideOf("PaperFeedEdge=either GuidePageExtraTumble=False"), turned + "guide eitherRightDownTop");
    EXPECT_EQ(guideOf("PaperFeedEdge=eitherleftup MFPrintOnBottom=True GuidePageExtraTumble=cond"),
              "guide eitherLeftUpBottom");
    EXPECT_EQ(guideOf("MFPrintOnBottom=True GuidePageExtraTumble=cond VXRotate180=True"),
              turnedIf + "guide shortUpGuide");
    const std::string withoutGuides = RunFilter(ManualRun(2, "media=A4 VXManualDuplexPrintGuide=True")).fOutput;
    EXPECT_EQ(Between(withoutGuides, beginning, "%%Page: 2 2\n"), kShowGuide);
}

TEST(ManualDuplex, FindsAPageSizeOnEveryJob)
{
    const auto turnOf = [](const std::string& inOptions)
    { return Between(RunFilter(ManualRun(2, inOptions)).fOutput, "%%Page: 1 1\n", " translate 180"); };
    EXPECT_EQ(turnOf("media=Letter PageSize=A4"), "612.0 792.0");
    EXPECT_EQ(turnOf("media=Unknown PageSize=Letter"), "612.0 792.0");
    EXPECT_EQ(turnOf("PageSize=Unknown"), "595.0 842.0");
    EXPECT_EQ(turnOf("TumbleFirstSides=False"), std::nullopt);
}

TEST(ManualDuplex, DropsTheJobsOwnFeaturesAndCutsOnlyTheSecondSideCode)
{
    AFilterRun run = ManualRun(2, "SecondSideCode=" + std::string(300, 'c'));
    run.fJob = MakeJob(2, "% *Duplex\n%%BeginFeature: *VXManualDuplexSwitch True\nold\n%%EndFeature\n"
                          "%%BeginFeature: *VXManualDuplexSupport True\nold\n%%EndFeature\n");
    const AFilterResult result = RunFilter(run);
    EXPECT_EQ(Between(result.fOutput, "%%BeginSetup\n", "%%EndSetup"), "% *Duplex\n");
    EXPECT_NE(result.fOutput.find("\n" + std::string(255, 'c') + "\n"), std::string::npos);
}
