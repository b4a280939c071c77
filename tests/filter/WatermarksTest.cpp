#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "TemporaryFolder.h"
#include "TestSupport.h"

using testing::HasSubstr;
using testing::Not;

namespace
{

constexpr const char* kMark = "*VXwmrSwitch Watermark/On: \"\"\n";

AFilterRun MarkRun(const std::string& inOptions, std::string inJob = MakeJob(3))
{
    return {.fOptions = inOptions, .fJob = std::move(inJob), .fPPD = MakePPD(kMark)};
}

std::string Mark(const std::string& inOptions, std::string inJob = MakeJob(3))
{
    return RunFilter(MarkRun(inOptions, std::move(inJob))).fOutput;
}

/// What decides about the marks, in order: page comments, guides, page ends and calls.
std::string OutlineOf(const std::string& inOutput)
{
    std::string outline;
    std::istringstream lines(inOutput.substr(std::min(inOutput.find("%%EndSetup"), inOutput.size())));
    for (std::string line; std::getline(lines, line);)
    {
        if (line.starts_with("%%Page:"))
        {
            outline += line.substr(8) + ';';
        }
        else if (line == "VXwmDraw" || line == "VXshowpage" || line == "%%EndPageSetup" || line == "%%Trailer")
        {
            outline += line.substr(line.starts_with("VX") ? 2 : 0) + ';';
        }
    }
    return outline;
}

/// Of the text, in points.
double WidthOf(const std::string& inOptions)
{
    const std::string output = Mark("VXwmrSwitch=Overlay " + inOptions, MakeJob(1));
    return std::stod(Between(output, "VXwmDrawing {\n-", " ").value_or("0")) * 2;
}

} // namespace

TEST(Watermarks, StoreTheTextOnceAsOutlines)
{
    const std::string output = Mark("VXwmrSwitch=Watermark VXwmCodedTextMessage=ab%20c",
                                    Replace(MakeJob(2), "%%EndSetup\n", "%%EndSetup\n% two\n%%EndSetup\n"));
    EXPECT_EQ(CountOf(output, "ustroke"), 4) << "a blank is a glyph too";
    EXPECT_EQ(CountOf(output, "/VXwmDrawing {"), 1);
    EXPECT_LT(output.find("/VXwmDrawing {"), output.find("%%EndSetup"));
}

TEST(Watermarks, ArePaintedInTheirStyle)
{
    const std::pair<const char*, const char*> cases[] = {{"", "\n0.480000 setlinewidth VXwmDrawing\n"},
                                                         {"Thin", "\n0.240000 setlinewidth VXwmDrawing\n"},
                                                         {"Thick", "\n0.960000 setlinewidth VXwmDrawing\n"},
                                                         {"Fill", "\n0.550000 setlinewidth VXwmDrawing\n"},
                                                         {"Halo", " VXwmDrawing\n"}};
    for (const auto& [style, painting] : cases)
    {
        const std::string output = Mark(std::string("VXwmrSwitch=Watermark VXwmrTextStyle=") + style, MakeJob(1));
        EXPECT_EQ(Between(output, "forall setcolor", "grestore\n} bind"), painting);
        const bool hasHalo = output.find("1 setgray 1.8 setlinewidth VXwmDrawing") != std::string::npos;
        EXPECT_EQ(hasHalo, std::string_view(style) == "Halo");
        EXPECT_EQ(output.find("ufill") != std::string::npos, std::string_view(style) == "Fill");
    }
}

TEST(Watermarks, ReadTheirOptions)
{
    const std::pair<const char*, const char*> cases[] = {
        {"watermark", "mode = 2"},
        {"Overlay VXwmrTextAngle=Deg", "angle = 45"},
        {"Overlay VXwmrTextAngle=Deg90x", "angle = 90"},
        {"Overlay VXwmrTextAngle=abcd", "angle = 0"},
        {"Overlay VXwmrTextAngle=DegN99999999999", "angle = -2147483647"},
        {"Overlay VXwmrFontName=Times", "font = Times Bold"},
        {"Overlay", "font = \n"},
        {"Overlay VXwmrTextColor=Mauve", "color = 0.000000 0.000000 0.000000 1.000000"},
        {"Overlay VXwmrBrightness=Dim", "brightness = 0.550000"},
        {"Overlay ColorDevice=true", "VXwm: color = no"},
        {"Overlay ColorDevice=False", "VXwm: color = yes"},
        {"Overlay", "text = Draft\n"},
        {"Overlay VXwmCodedTextMessage=%00x", "text = Draft\n"},
        {"Overlay VXwmCodedTextMessage=100%25%2B%C3%A9", "text = 100%+\xC3\xA9\n"},
        {"Overlay VXwmCodedTextMessage=caf%E9", "text = caf\xC3\xA9\n"},
        {"Overlay VXwmCodedTextMessage=a%0AERROR:b", "text = a\nDEBUG: ERROR:b\n"},
    };
    for (const auto& [options, logged] : cases)
    {
        const AFilterResult result = RunFilter(MarkRun(std::string("VXwmrSwitch=") + options, MakeJob(1)));
        EXPECT_THAT(result.fLog, HasSubstr(logged)) << options;
        EXPECT_EQ(result.fStatus, 0);
    }
}

TEST(Watermarks, AreAsLargeAsAsked)
{
    const double usual = WidthOf("");
    EXPECT_GT(usual, 80) << "the width of five letters";
    EXPECT_EQ(WidthOf("VXwmrFontSize=pt0"), usual);
    EXPECT_EQ(WidthOf("VXwmrFontSize=pt"), usual);
    EXPECT_NEAR(WidthOf("VXwmrFontSize=pt96.5"), usual * 2, 0.2);
    EXPECT_NEAR(WidthOf("VXwmrFontSize=99999999999999999999"), usual * 2000 / 48, 2);
}

TEST(Watermarks, StandUnderThePagesOrOverThem)
{
    EXPECT_EQ(OutlineOf(Mark("VXwmrSwitch=Watermark", MakeJob(2))),
              "1 1;wmDraw;%%EndPageSetup;showpage;2 2;wmDraw;%%EndPageSetup;showpage;%%Trailer;");
    EXPECT_EQ(OutlineOf(Mark("VXwmrSwitch=Overlay", MakeJob(2))),
              "1 1;%%EndPageSetup;wmDraw;showpage;2 2;%%EndPageSetup;wmDraw;showpage;%%Trailer;");
    EXPECT_EQ(OutlineOf(Mark("VXwmrSwitch=Watermark VXwmrPages=FirstPage", MakeJob(2))),
              "1 1;wmDraw;%%EndPageSetup;showpage;2 2;%%EndPageSetup;showpage;%%Trailer;");
    EXPECT_EQ(OutlineOf(Mark("VXwmrSwitch=Overlay VXwmrPages=FirstPage", MakeJob(2))),
              "1 1;%%EndPageSetup;wmDraw;showpage;2 2;%%EndPageSetup;showpage;%%Trailer;");
}

TEST(Watermarks, MarkAPageOnceWhateverCommentsItHas)
{
    const std::string twice = Replace(MakeJob(2), "%%EndPageSetup\n", "%%EndPageSetup\n%%EndPageSetup\n");
    EXPECT_EQ(OutlineOf(Mark("VXwmrSwitch=Watermark", twice)),
              "1 1;wmDraw;%%EndPageSetup;%%EndPageSetup;showpage;2 2;wmDraw;%%EndPageSetup;showpage;%%Trailer;");
    EXPECT_EQ(OutlineOf(Mark("VXwmrSwitch=Watermark VXwmrPages=FirstPage", twice)),
              "1 1;wmDraw;%%EndPageSetup;%%EndPageSetup;showpage;2 2;%%EndPageSetup;showpage;%%Trailer;");
    const std::string repeated = Replace(MakeJob(2), "%%Page: 2 2\n", "%%Page: 1 1 (excessive)\n%%Page: 2 2\n");
    EXPECT_EQ(CountOf(OutlineOf(Mark("VXwmrSwitch=Overlay", repeated)), "wmDraw"), 2);
}

TEST(Watermarks, LeaveBlankFillersAlone)
{
    for (const char* const mode : {"Watermark", "Overlay"})
    {
        AFilterRun run = MarkRun(std::string("sides=two-sided-long-edge VXwmrSwitch=") + mode);
        run.fPPD = MakePPD(kMark + std::string("*DefaultVXFaceOrientation: FaceUp\n"));
        const std::string outline = OutlineOf(RunFilter(run).fOutput);
        EXPECT_EQ(CountOf(outline, "showpage"), 4) << outline;
        EXPECT_EQ(CountOf(outline, "wmDraw"), 3) << outline;
    }
}

TEST(Watermarks, AJobWithoutSetupOrTrailerIsMarkedAllTheSame)
{
    const std::string output =
        Mark("VXwmrSwitch=Overlay", "%!PS-Adobe-3.0\n%%EndComments\n%%Page: 1 1\n%%EndPageSetup\nshowpage\n\x04");
    EXPECT_EQ(OutlineOf(output), "1 1;%%EndPageSetup;wmDraw;showpage;%%Trailer;");
    EXPECT_LT(output.find("/VXwmDrawing {"), output.find("%%EndSetup"));
}

TEST(Watermarks, ATextOfAnyLengthAndSizeIsSetWhole)
{
    std::string text;
    for (int i = 0; i < 10000; ++i)
    {
        const auto character = static_cast<unsigned>(0x4E00 + i % 20000);
        text += {static_cast<char>(0xE0 | character >> 12), static_cast<char>(0x80 | (character >> 6 & 0x3F)),
                 static_cast<char>(0x80 | (character & 0x3F))};
    }
    const std::string option = "VXwmrSwitch=Overlay VXwmCodedTextMessage=" + text;
    EXPECT_EQ(CountOf(Mark(option, MakeJob(1)), "ustroke"), 10000);
    EXPECT_GT(WidthOf("VXwmrFontSize=2000 VXwmCodedTextMessage=" + text), 1e7) << "beyond 32 bits in Pango's units";
}

TEST(Watermarks, WithoutAFontTheJobIsPrintedUnmarked)
{
    const ATemporaryFolder folder;
    folder.Write("none.conf", "<?xml version=\"1.0\"?><fontconfig/>");
    folder.Write("cache.conf", "<fontconfig><cachedir>" + folder.GetPath() + "</cachedir></fontconfig>");
    for (const char* const configuration : {"none.conf", "cache.conf"})
    {
        AFilterRun run = MarkRun("VXwmrSwitch=Overlay");
        run.fEnvironment = {{"FONTCONFIG_FILE", folder.GetPath(configuration)}};
        const AFilterResult result = RunFilter(run);
        EXPECT_EQ(result.fStatus, 0);
        EXPECT_EQ(CountOf(OutlineOf(result.fOutput), "showpage"), 3);
        EXPECT_THAT(result.fOutput, Not(HasSubstr("VXwm")));
        EXPECT_THAT(result.fLog, AllOf(HasSubstr("no font is installed"), HasSubstr("without its watermark")));
    }
}

// The loader names every library that it opens.
TEST(Watermarks, NoOtherJobPaysForTheTextLayout)
{
    AFilterRun run = MarkRun("VXwmrSwitch=Off");
    run.fEnvironment = {{"LD_DEBUG", "files"}};
    EXPECT_THAT(RunFilter(run).fLog, Not(HasSubstr("libpango")));
    run.fOptions = "VXwmrSwitch=Overlay";
    EXPECT_THAT(RunFilter(run).fLog, HasSubstr("libpango"));
    run.fPPD = MakePPD("");
    EXPECT_THAT(RunFilter(run).fLog, Not(HasSubstr("libpango")));
}
