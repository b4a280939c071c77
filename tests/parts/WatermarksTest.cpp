// Marked pages as a printer draws them: where the mark stands, what it covers, and what it leaves behind.

#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <set>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "Launch.h"
#include "TemporaryFolder.h"
#include "TestSupport.h"

namespace
{

using AColor = std::array<std::uint8_t, 3>;

constexpr AColor kWhite = {255, 255, 255};

/// A page drawn with one pixel a point, so that pixels are coordinates (y upwards).
struct APicture
{
    int fWidth = 0;
    int fHeight = 0;
    std::string fPixels;

    [[nodiscard]] AColor At(int inX, int inY) const
    {
        AColor color{};
        fPixels.copy(reinterpret_cast<char*>(color.data()), color.size(),
                     static_cast<std::size_t>(3 * ((fHeight - 1 - inY) * fWidth + inX)));
        return color;
    }
};

struct APrint
{
    APicture fPage;
    std::string fSaid; ///< by the job's own print operators, and by errors
};

/// A portable pixmap, with the comment that Ghostscript writes behind its magic.
APicture ReadPicture(const std::string& inPPM)
{
    APicture picture;
    std::istringstream stream(inPPM);
    std::string text;
    std::getline(stream, text);
    std::getline(stream, text);
    int largest = 0;
    stream >> picture.fWidth >> picture.fHeight >> largest;
    picture.fPixels = inPPM.substr(static_cast<std::size_t>(stream.tellg()) + 1);
    EXPECT_EQ(picture.fPixels.size(), static_cast<std::size_t>(3 * picture.fWidth * picture.fHeight));
    return picture;
}

/// The one page of a job.
APrint Print(const std::string& inJob, int inLevel)
{
    const ATemporaryFolder folder;
    APrint print;
    print.fSaid = RunGhostscript("-dNOSAFER -dDELAYBIND -sDEVICE=ppmraw -r72 -o " + folder.GetPath("page.ppm") +
                                     " -c '" + std::to_string(inLevel) + " .setlanguagelevel .bindnow' -f",
                                 inJob);
    print.fPage = ReadPicture(ReadFile(folder.GetPath("page.ppm")));
    return print;
}

/// Tells what a mark must leave alone. The current path is looked at through its current point.
constexpr const char* kProbe = R"(/probe {
    [ count countdictstack vmstatus pop pop currentgray currentcolorspace currentlinewidth currentlinejoin currentlinecap
      currentdash currentmiterlimit currentstrokeadjust currentfont /FontName get currentpoint matrix VXcurrent
      gsave clippath pathbbox grestore ] ==
} bind def
)";

struct APage
{
    int fWidth = 595;
    int fHeight = 842;
    std::string fSetup = "";   ///< code that turns the page
    std::string fContent = ""; ///< what the page shows
};

std::string MakePage(const APage& inPage)
{
    std::ostringstream job;
    job << "%!PS-Adobe-3.0\n%%EndComments\n%%BeginProlog\n"
        << kProbe << "%%EndProlog\n%%BeginSetup\n<</PageSize[" << inPage.fWidth << ' ' << inPage.fHeight
        << "]>>setpagedevice\n%%EndSetup\n%%Page: 1 1\n%%BeginPageSetup\n"
        << inPage.fSetup << "\n%%EndPageSetup\n"
        << inPage.fContent << "\nshowpage\n%%Trailer\n%%EOF\n";
    return job.str();
}

std::string Mark(const std::string& inOptions, const std::string& inJob)
{
    return RunFilter({.fOptions = "VXwmrTextStyle=Fill " + inOptions,
                      .fJob = inJob,
                      .fPPD = MakePPD("*VXwmrSwitch Overlay/On: \"\"\n")})
        .fOutput;
}

struct ARange
{
    double fLow = std::numeric_limits<double>::max();
    double fHigh = std::numeric_limits<double>::lowest();
    double fSum = 0;
    int fCount = 0;

    void Add(double inValue)
    {
        fLow = std::min(fLow, inValue);
        fHigh = std::max(fHigh, inValue);
        fSum += inValue;
        ++fCount;
    }
    [[nodiscard]] double GetMiddle() const { return (fLow + fHigh) / 2; }
};

/// The ink of a page in the directions along and across a text that is turned by an angle, from the page's middle.
struct AInk
{
    ARange fAlong;
    ARange fAcross;
};

AInk MeasureInk(const APicture& inPage, double inDegrees)
{
    AInk ink;
    const double angle = inDegrees * std::numbers::pi / 180;
    for (int y = 0; y < inPage.fHeight; ++y)
    {
        for (int x = 0; x < inPage.fWidth; ++x)
        {
            if (inPage.At(x, y) != kWhite)
            {
                const double fromMiddleX = x + 0.5 - inPage.fWidth / 2.0;
                const double fromMiddleY = y + 0.5 - inPage.fHeight / 2.0;
                ink.fAlong.Add(fromMiddleX * std::cos(angle) + fromMiddleY * std::sin(angle));
                ink.fAcross.Add(fromMiddleY * std::cos(angle) - fromMiddleX * std::sin(angle));
            }
        }
    }
    return ink;
}

/// All colours of the right half of a page.
std::set<AColor> ListColors(const APicture& inPage)
{
    std::set<AColor> colors;
    for (int y = 0; y < inPage.fHeight; ++y)
    {
        for (int x = inPage.fWidth / 2; x < inPage.fWidth; ++x)
        {
            colors.insert(inPage.At(x, y));
        }
    }
    return colors;
}

} // namespace

// "MMMM----" is dense where it begins, so its direction shows.
TEST(WatermarksOnPaper, StandInTheMiddleAtTheAngleOfThePage)
{
    struct ACase
    {
        const char* fOptions;
        APage fPage;
        double fAngle;
    };
    const ACase kCases[] = {
        {"", {}, 45},
        {"", {612, 792}, 45},
        {"", {842, 1191}, 45},
        {"VXwmrTextAngle=Deg0", {}, 0},
        {"VXwmrTextAngle=DegN30", {}, -30},
        {"VXwmrTextAngle=Deg90", {842, 595}, 90},
        {"", {595, 842, "180 rotate -595 -842 translate"}, 225},
        {"", {595, 842, ".5 .5 scale 300 200 translate"}, 45},
        {"orientation-requested=4", {595, 842, "90 rotate 0 -595 translate"}, 135},
        {"orientation-requested=5", {595, 842, "-90 rotate -842 0 translate"}, -45},
    };
    for (const ACase& test : kCases)
    {
        for (const int level : {2, 3})
        {
            const std::string options =
                std::string("VXwmrSwitch=Overlay VXwmCodedTextMessage=MMMM---- VXwmrFontSize=48 ") + test.fOptions;
            const APrint print = Print(Mark(options, MakePage(test.fPage)), level);
            EXPECT_EQ(print.fPage.fWidth, test.fPage.fWidth);
            const AInk ink = MeasureInk(print.fPage, test.fAngle);
            SCOPED_TRACE(options + " on " + test.fPage.fSetup);
            EXPECT_NEAR(ink.fAlong.GetMiddle(), 0, 5);
            EXPECT_GT(ink.fAlong.fHigh - ink.fAlong.fLow, 200);
            EXPECT_LT(ink.fAlong.fSum / ink.fAlong.fCount, -20) << "runs the other way";
            EXPECT_NEAR(ink.fAcross.GetMiddle(), 0, 15);
            EXPECT_NEAR(ink.fAcross.fHigh - ink.fAcross.fLow, 35, 8);
        }
    }
}

// A patch of the expected colour, drawn by the page itself, must add no colour to the page.
TEST(WatermarksOnPaper, HaveTheColorAndBrightnessAskedFor)
{
    struct ACase
    {
        const char* fOptions;
        const char* fPatch;
    };
    constexpr ACase kCases[] = {
        {"", "0 0 0 .55"},
        {"VXwmrBrightness=Lightest", "0 0 0 .11"},
        {"VXwmrBrightness=MediumLight", "0 0 0 .44"},
        {"VXwmrBrightness=MediumDark", "0 0 0 .66"},
        {"VXwmrTextColor=Red VXwmrBrightness=Darkest", "0 1 .3 0"},
        {"VXwmrTextColor=Orange", "0 .275 .55 0"},
        {"VXwmrTextColor=Yellow VXwmrBrightness=Dark", "0 0 .77 0"},
        {"VXwmrTextColor=Green VXwmrBrightness=Darkest", ".9 0 .9 0"},
        {"VXwmrTextColor=Blue VXwmrBrightness=Darker", ".88 .088 0 0"},
        {"VXwmrTextColor=Purple VXwmrBrightness=Light", ".264 .264 0 0"},
    };
    for (const ACase& test : kCases)
    {
        const APage page{595, 842, "", std::string(test.fPatch) + " setcmykcolor 20 20 50 50 rectfill"};
        const APrint print = Print(Mark(std::string("VXwmrSwitch=Overlay ") + test.fOptions, MakePage(page)), 3);
        const AColor patch = print.fPage.At(40, 40);
        EXPECT_NE(patch, kWhite);
        std::set<AColor> colors = ListColors(print.fPage);
        colors.erase(kWhite);
        ASSERT_EQ(colors.size(), 1U) << test.fOptions;
        for (std::size_t i = 0; i < patch.size(); ++i)
        {
            EXPECT_NEAR((*colors.begin())[i], patch[i], 1) << test.fOptions;
        }
    }
}

TEST(WatermarksOnPaper, LeaveThePageAsTheyFoundIt)
{
    const APage page{
        595, 842,
        "(operand) 20 dict begin /Times-Roman 12 selectfont 1 2 scale 10 20 translate 50 60 400 300 rectclip "
        "100 200 moveto 5 setlinewidth 1 setlinejoin 2 setlinecap [3 1] 2 setdash .3 setgray 4 setmiterlimit"};
    for (const char* const options :
         {"VXwmrSwitch=Watermark", "VXwmrSwitch=Overlay", "VXwmrSwitch=Watermark VXwmrTextStyle=Halo",
          "VXwmrSwitch=Watermark orientation-requested=4", "VXwmrSwitch=Overlay VXwmrFontSize=2000"})
    {
        std::string job = Mark(options, MakePage(page));
        job = Replace(job, "matrix VXcurrent matrix defaultmatrix", "probe matrix VXcurrent matrix defaultmatrix");
        job = Replace(job, "\nVXwmDraw\n", "\nprobe VXwmDraw probe\n");
        for (const int level : {2, 3})
        {
            std::istringstream said(Print(job, level).fSaid);
            std::vector<std::string> states;
            for (std::string line; std::getline(said, line);)
            {
                states.push_back(line);
            }
            ASSERT_EQ(states.size(), 3U) << testing::PrintToString(states);
            EXPECT_NE(states[0].find("Times-Roman"), std::string::npos) << states[0];
            EXPECT_EQ(states[1], states[0]) << options;
            EXPECT_EQ(states[2], states[0]) << options;
        }
    }
}

// Scripts that no font of a printer has; what is joined or written from the right must be so here.
TEST(WatermarksOnPaper, ShowEveryScript)
{
    const auto inkOf = [](const std::string& inText)
    {
        const std::string options = "VXwmrSwitch=Overlay VXwmrTextAngle=Deg0 VXwmCodedTextMessage=" + inText;
        return MeasureInk(Print(Mark(options, MakePage({})), 3).fPage, 0);
    };
    const auto widthOf = [](const AInk& inInk) { return inInk.fAlong.fHigh - inInk.fAlong.fLow; };
    for (const char* const text : {"Größe", "Πρόχειρο", "Черновик", "טיוטה", "草稿", "下書き", "초안"})
    {
        const AInk ink = inkOf(text);
        EXPECT_GT(ink.fAlong.fCount, 500) << text;
        EXPECT_NEAR(ink.fAlong.GetMiddle(), 0, 8) << text;
    }
    EXPECT_LT(widthOf(inkOf("ببب")), widthOf(inkOf("ب%20ب%20ب")) * 0.8) << "letters that join are shorter";
    const AInk hebrew = inkOf("ייייםםםם");
    EXPECT_LT(hebrew.fAlong.fSum / hebrew.fAlong.fCount, -4) << "the big letters come last, so they stand on the left";
    EXPECT_NEAR(widthOf(inkOf("x%CC%83x")), widthOf(inkOf("xx")), 3) << "a combining mark takes no room";
    EXPECT_EQ(inkOf("%F0%9F%AB%A8").fAlong.fCount, 0) << "a character that no font has";
}
