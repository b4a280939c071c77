#include <gtest/gtest.h>

#include "TestSupport.h"

namespace
{

constexpr const char* kBooklet = "*VXBookletFilter: \"True\"\n";

AFilterRun BookletRun(int inPages, const std::string& inOptions, std::string_view inSetup = "")
{
    return {
        .fOptions = "VXBookletFilter=True " + inOptions, .fJob = MakeJob(inPages, inSetup), .fPPD = MakePPD(kBooklet)};
}

std::string PageText(const std::string& inNumber)
{
    return "%%BeginPageSetup\n%%EndPageSetup\n(page " + inNumber + ") show\nshowpage\n%%PageTrailer\n";
}

constexpr const char* kFirstHalf = "%%Subpage 1\nmatrix VXcurrent\n0.0 33.3 VXscale\n";
constexpr const char* kSecondHalf = "VXset\n%%Subpage 2\n360.0 33.3 VXscale\n";
constexpr const char* kShow = "VXsave\nVXshowpage\nVXrestore\n";
constexpr const char* kTumbleBlock = "[{\n\t%%BeginFeature: *Duplex DuplexTumble\n\t\t<</Duplex true /Tumble true>> "
                                     "setpagedevice\n\t%%EndFeature\n} stopped cleartomark\n";

} // namespace

TEST(Booklet, PutsPairsOfPagesOnSheetSides)
{
    const AFilterResult result = RunFilter(BookletRun(3, "VXBookletPaperSize=Letter media=A4"));
    const std::string sides = std::string("userdict/VXpages true put\n%%Page: 1 1\n") + kFirstHalf + kSecondHalf +
                              "%%Page: 2 1\ninitclip\n" + PageText("1") + kShow + "%%Page: 3 2\n" + kFirstHalf +
                              PageText("2") + kSecondHalf + "%%Page: 4 2\ninitclip\n" + PageText("3") + kShow;
    EXPECT_EQ(Between(result.fOutput, "%%EndSetup\n", "%%Trailer"), sides);
    EXPECT_EQ(Between(result.fOutput, "%%BeginSetup\n", "%%EndSetup"), kTumbleBlock);
    EXPECT_EQ(result.fStatus, 0);
}

TEST(Booklet, WritesItsHeader)
{
    AFilterRun run = BookletRun(4, "VXBookletPaperSize=Letter media=A4");
    run.fJob = Replace(run.fJob, "%%EndComments", "%%PageOrder: Ascend\n%%EndComments");
    const AFilterResult result = RunFilter(run);
    const auto header = Between(result.fOutput, "%!PS-Adobe-3.0\n", "userdict begin\ntrue setglobal");
    ASSERT_TRUE(header);
    EXPECT_TRUE(header->starts_with("%%Pages: (atend)\n%%PageOrder: Special\nuserdict begin\n/VXscale {\n612.0 18.0 "
                                    "translate\n90 rotate\ntranslate\n0.605 0.605 scale\n}bind def\nend\nuserdict "
                                    "begin\n/VXpages false def\n"))
        << *header;
}

TEST(Booklet, ReplacesSheetSizeAndDuplexOnce)
{
    const AFilterResult result = RunFilter(BookletRun(
        4, "VXBookletPaperSize=Letter",
        "% *PageSize\n%%BeginFeature: *PageRegion A4\nold\n%%EndFeature\n%%BeginFeature: *PageSize A5\nkept\n"
        "%%EndFeature\n%%BeginFeature: *Duplex None\nold\n%%EndFeature\n%%BeginFeature: *Duplex DuplexNoTumble\nold\n"
        "%%EndFeature\n%%BeginFeature: *Duplex DuplexTumble\nkept\n%%EndFeature\n"));
    EXPECT_EQ(Between(result.fOutput, "%%BeginSetup\n", "%%EndSetup"),
              "% *PageSize\n%%BeginFeature: *PageSize Letter\n<</PageSize[612 792]>>setpagedevice\n\n%%EndFeature\n"
              "%%BeginFeature: *PageSize A5\nkept\n%%EndFeature\n"
              "%%BeginFeature: *Duplex DuplexTumble\n<</Duplex true /Tumble true>> setpagedevice\n\n%%EndFeature\n"
              "\n%%EndFeature\n%%BeginFeature: *Duplex DuplexTumble\nkept\n%%EndFeature\n");
}

TEST(Booklet, ChoosesPageAndSheetSize)
{
    const auto scaleOf = [](const std::string& inOptions)
    { return Between(RunFilter(BookletRun(4, inOptions)).fOutput, "90 rotate\ntranslate\n", " scale"); };
    EXPECT_EQ(scaleOf("VXBookletPaperSize=A4 PageSize=Letter"), "0.668 0.668");
    EXPECT_EQ(scaleOf("VXBookletPaperSize=A4"), "0.678 0.678");
    EXPECT_EQ(scaleOf("VXBookletPaperSize=A4 media=Unknown PageSize=Letter"), "0.678 0.678");
    EXPECT_EQ(scaleOf("VXBookletPaperSize=Unknown media=A4 VXBookletScaling=fitpage"), "0.687 0.678");
}

TEST(Booklet, ByHandCountsGuidesAsSidesAndLeavesDuplexAlone)
{
    AFilterRun run = BookletRun(4, "VXBookletPaperSize=A4 media=A4 VXManualDuplexSupport=True "
                                   "VXManualDuplexPrintGuide=True");
    run.fPPD = MakeSimplexPPD(kBooklet);
    const AFilterResult result = RunFilter(run);
    EXPECT_EQ(Between(result.fOutput, "%%BeginSetup\n", "%%EndSetup"), "");
    EXPECT_NE(result.fOutput.find("userdict/VXpages true put\n%%Page: (reinsertion) 1\n"), std::string::npos);
    EXPECT_NE(result.fOutput.find("%%Page: 2 2\n%%Subpage 1\n"), std::string::npos);
    EXPECT_NE(result.fOutput.find("%%Page: (reinsertion) 4\n"), std::string::npos);
    EXPECT_EQ(result.fStatus, 0);
}
