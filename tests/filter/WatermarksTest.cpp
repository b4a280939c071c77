#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "TemporaryFolder.h"
#include "TestSupport.h"

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace
{

constexpr const char* kMark = "*VXwmrSwitch Watermark/On: \"\"\n";

AFilterRun MarkRun(const std::string& inOptions, std::string inJob = MakeJob(3))
{
    AFilterRun run;
    run.fOptions = inOptions;
    run.fPPD = MakePPD(kMark);
    run.fJob = std::move(inJob);
    return run;
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

std::size_t Count(const std::string& inText, std::string_view inPart)
{
    std::size_t count = 0;
    for (std::size_t at = 0; (at = inText.find(inPart, at)) != std::string::npos; at += inPart.size())
    {
        ++count;
    }
    return count;
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
    const std::string output = Mark("VXwmrSwitch=Watermark VXwmCodedTextMessage=ab%20c VXwmrTextAngle=DegN30",
                                    Replace(MakeJob(2), "%%EndSetup\n", "%%EndSetup\n% two\n%%EndSetup\n"));
    const auto setup = Between(output, "%%BeginSetup\n", "%%EndSetup\n");
    ASSERT_TRUE(setup);
    const std::string number = "-?[0-9]+\\.[0-9]{6}";
    EXPECT_THAT(*setup,
                ContainsRegex("^\\[\\{\n%%BeginFeature: \\*VXwmrSwitch Watermark\nglobaldict /VXwmAngle -30 put\n"
                              "globaldict /VXwmAngleOrig -30 put\nuserdict /VXwmDrawing \\{\n-" +
                              number + " -" + number + " translate\n\\{(\\{ \\{( " + number + "){4} 0 0\n(( " + number +
                              ")+\n)+ \\}\n< 00 01\n( 0[246]| 0A\n)+ >\n \\} ustroke\n){2}"));
    EXPECT_EQ(Count(*setup, "ustroke"), 4U) << "a blank is a glyph too";
    const std::string painting = setup->substr(setup->find(" } exec\n"));
    EXPECT_THAT(painting, MatchesRegex(" \\} exec\n\\} bind put\n\n\n%% [^\n]*\nuserdict /VXwmDraw\n(.|\n)*grestore\n"
                                       "\\} bind put\n%%EndFeature\n\\} stopped cleartomark\n"));
    EXPECT_EQ(Count(output, "/VXwmDrawing {"), 1U);
}

TEST(Watermarks, ArePaintedAsTheOptionsSay)
{
    struct ACase
    {
        const char* fOptions;
        const char* fPainting;
    };
    constexpr ACase kCases[] = {
        {"", "0.000000 0.000000 0.000000 1.000000 setcolor\n[ currentcmykcolor ] /DeviceCMYK setcolorspace { 0.550000 "
             "mul } forall setcolor\n0.480000 setlinewidth VXwmDrawing\n"},
        {"VXwmrTextColor=Red VXwmrTextStyle=Thin VXwmrBrightness=Lightest",
         "0.000000 1.000000 0.300000 0.000000 setcolor\n[ currentcmykcolor ] /DeviceCMYK setcolorspace { 0.110000 mul "
         "} "
         "forall setcolor\n0.240000 setlinewidth VXwmDrawing\n"},
        {"VXwmrTextColor=Green VXwmrTextStyle=Thick VXwmrBrightness=Darkest",
         "0.900000 0.000000 0.900000 0.000000 setcolor\n[ currentcmykcolor ] /DeviceCMYK setcolorspace { 1.000000 mul "
         "} "
         "forall setcolor\n0.960000 setlinewidth VXwmDrawing\n"},
        {"VXwmrTextColor=Mauve VXwmrTextStyle=Fill VXwmrBrightness=Dim",
         "0.000000 0.000000 0.000000 1.000000 setcolor\n[ currentcmykcolor ] /DeviceCMYK setcolorspace { 0.550000 mul "
         "} "
         "forall setcolor\n0.550000 setlinewidth VXwmDrawing\n"},
        {"VXwmrTextColor=Purple VXwmrTextStyle=Halo VXwmrBrightness=MediumDark",
         "0.800000 0.800000 0.000000 0.000000 setcolor\n[ currentcmykcolor ] /DeviceCMYK setcolorspace { 0.660000 mul "
         "} "
         "forall setcolor VXwmDrawing\n"},
    };
    for (const ACase& test : kCases)
    {
        const std::string output = Mark(std::string("VXwmrSwitch=Watermark ") + test.fOptions, MakeJob(1));
        const bool hasHalo = std::string_view(test.fOptions).find("Halo") != std::string_view::npos;
        EXPECT_EQ(Between(output, "get rotate\n", "grestore\n} bind"),
                  (hasHalo ? "gsave /DeviceGray setcolorspace 1 setgray 1.8 setlinewidth VXwmDrawing grestore\n" : "") +
                      std::string("/DeviceCMYK setcolorspace ") + test.fPainting);
        EXPECT_EQ(output.find("ufill") != std::string::npos, output.find("0.550000 setlinewidth") != std::string::npos);
    }
}

TEST(Watermarks, ReadTheirOptions)
{
    struct ACase
    {
        const char* fOptions;
        const char* fLogged;
    };
    constexpr ACase kCases[] = {
        {"VXwmrSwitch=watermark", "mode = 2"},
        {"VXwmrSwitch=Watermark", "mode = 1"},
        {"VXwmrSwitch=Overlay VXwmrPages=firstpage", "first only = yes"},
        {"VXwmrSwitch=Overlay VXwmrTextAngle=Deg", "angle = 45"},
        {"VXwmrSwitch=Overlay VXwmrTextAngle=DegN30", "angle = -30"},
        {"VXwmrSwitch=Overlay VXwmrTextAngle=Deg90x", "angle = 90"},
        {"VXwmrSwitch=Overlay VXwmrTextAngle=abcd", "angle = 0"},
        {"VXwmrSwitch=Overlay VXwmrTextAngle=DegN99999999999", "angle = -2147483647"},
        {"VXwmrSwitch=Overlay VXwmrFontName=Times", "font = Times Bold"},
        {"VXwmrSwitch=Overlay", "font = \n"},
        {"VXwmrSwitch=Overlay VXwmrTextColor=Yellow", "color = 0.000000 0.000000 1.000000 0.000000"},
        {"VXwmrSwitch=Overlay VXwmrTextStyle=Halo", "style = 3"},
        {"VXwmrSwitch=Overlay VXwmrBrightness=MediumLight", "brightness = 0.440000"},
        {"VXwmrSwitch=Overlay ColorDevice=true", "VXwm: color = no"},
        {"VXwmrSwitch=Overlay ColorDevice=False", "VXwm: color = yes"},
        {"VXwmrSwitch=Overlay", "text = Draft\n"},
        {"VXwmrSwitch=Overlay VXwmCodedTextMessage=%00x", "text = Draft\n"},
        {"VXwmrSwitch=Overlay VXwmCodedTextMessage=100%25%2B%C3%A9", "text = 100%+\xC3\xA9\n"},
        {"VXwmrSwitch=Overlay VXwmCodedTextMessage=caf%E9", "text = caf\xC3\xA9\n"},
        {"VXwmrSwitch=Overlay VXwmCodedTextMessage=a%0AERROR:b", "text = a\nDEBUG: ERROR:b\n"},
    };
    for (const ACase& test : kCases)
    {
        const AFilterResult result = RunFilter(MarkRun(test.fOptions, MakeJob(1)));
        EXPECT_TRUE(result.IsLogged(std::string(test.fLogged))) << test.fOptions << " -> " << test.fLogged << '\n'
                                                                << result.fLog;
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
    EXPECT_EQ(Count(OutlineOf(Mark("VXwmrSwitch=Overlay", repeated)), "wmDraw"), 2U);
}

TEST(Watermarks, LeaveBlankFillersAlone)
{
    for (const char* const mode : {"Watermark", "Overlay"})
    {
        AFilterRun run = MarkRun(std::string("sides=two-sided-long-edge VXwmrSwitch=") + mode);
        run.fPPD = MakePPD(kMark + std::string("*DefaultVXFaceOrientation: FaceUp\n"));
        const std::string outline = OutlineOf(RunFilter(run).fOutput);
        EXPECT_EQ(Count(outline, "showpage"), 4U) << outline;
        EXPECT_EQ(Count(outline, "wmDraw"), 3U) << outline;
    }
}

TEST(Watermarks, TurnWithThePage)
{
    const std::string matrix = "matrix VXcurrent matrix defaultmatrix matrix invertmatrix matrix concatmatrix\n";
    EXPECT_EQ(Between(Mark("VXwmrSwitch=Overlay"), "%%BeginPageSetup\n", "%%EndPageSetup"),
              matrix + "3 get 0 lt\n{globaldict /VXwmAngle globaldict /VXwmAngleOrig get 180 add put}\n{globaldict "
                       "/VXwmAngle globaldict /VXwmAngleOrig get put}ifelse\n");
    EXPECT_EQ(Between(Mark("VXwmrSwitch=Overlay orientation-requested=4"), "%%BeginPageSetup\n", "%%EndPageSetup"),
              matrix + "2 get 0 lt\n{globaldict /VXwmAngle globaldict /VXwmAngleOrig get 90 add put}\n{globaldict "
                       "/VXwmAngle globaldict /VXwmAngleOrig get 90 sub put}ifelse\n");
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
    EXPECT_EQ(Count(Mark(option, MakeJob(1)), "ustroke"), 10000U);
    EXPECT_GT(WidthOf("VXwmrFontSize=2000 VXwmCodedTextMessage=" + text), 1e7) << "beyond 32 bits in Pango's units";
}

TEST(Watermarks, WithoutAnyFontTheJobIsPrintedUnmarked)
{
    const ATemporaryFolder folder;
    AFilterRun run = MarkRun("VXwmrSwitch=Watermark");
    run.fEnvironment = {{"FONTCONFIG_FILE", folder.Write("none.conf", "<?xml version=\"1.0\"?><fontconfig/>")}};
    const AFilterResult result = RunFilter(run);
    EXPECT_EQ(result.fStatus, 0);
    EXPECT_TRUE(result.IsLogged("no font is installed")) << result.fLog;
    EXPECT_TRUE(result.IsLogged("The job is printed without its watermark"));
    EXPECT_THAT(result.fOutput, Not(HasSubstr("VXwm")));
    EXPECT_EQ(Count(OutlineOf(result.fOutput), "showpage"), 3U);
}

TEST(Watermarks, WithoutAFontTheJobIsPrintedUnmarked)
{
    const ATemporaryFolder folder;
    folder.Write("fonts.conf", "<fontconfig><cachedir>" + folder.GetPath() + "</cachedir></fontconfig>");
    AFilterRun run = MarkRun("VXwmrSwitch=Overlay");
    run.fEnvironment = {{"FONTCONFIG_FILE", folder.GetPath("fonts.conf")}};
    const AFilterResult result = RunFilter(run);
    EXPECT_EQ(result.fStatus, 0);
    EXPECT_THAT(result.fOutput, Not(HasSubstr("VXwm")));
    EXPECT_THAT(result.fLog, AllOf(HasSubstr("no font is installed"), HasSubstr("without its watermark")));
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
