// Marked pages as a printer draws them: where the mark stands, what it covers, and what it leaves behind.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

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
        const auto at = static_cast<std::size_t>(3 * ((fHeight - 1 - inY) * fWidth + inX));
        const auto byte = [&](std::size_t inIndex) { return static_cast<std::uint8_t>(fPixels[at + inIndex]); };
        return {byte(0), byte(1), byte(2)};
    }
};

struct APrint
{
    std::vector<APicture> fPages;
    std::string fSaid; ///< by the job's own print operators, and by errors
};

std::string ReadWhole(const std::string& inPath)
{
    std::ifstream file(inPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

APicture ReadPicture(const std::string& inPPM)
{
    APicture picture;
    std::istringstream stream(inPPM);
    std::string magic;
    std::string comment;
    std::getline(stream, magic);
    while (stream.peek() == '#')
    {
        std::getline(stream, comment);
    }
    int largest = 0;
    stream >> picture.fWidth >> picture.fHeight >> largest;
    stream.get();
    picture.fPixels.assign(std::istreambuf_iterator<char>(stream), {});
    EXPECT_EQ(picture.fPixels.size(), static_cast<std::size_t>(3 * picture.fWidth * picture.fHeight));
    return picture;
}

APrint Print(const std::string& inJob, int inLevel)
{
    const ATemporaryFolder folder;
    folder.Write("job.ps", inJob);
    const std::string command = "cd " + folder.GetPath() +
                                " && gs -q -dNOSAFER -dDELAYBIND -dBATCH -dNOPAUSE -sDEVICE=ppmraw -r72 -o page%d.ppm "
                                "-c '" +
                                std::to_string(inLevel) + " .setlanguagelevel .bindnow' -f job.ps >said 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0) << ReadWhole(folder.GetPath("said"));
    APrint print{{}, ReadWhole(folder.GetPath("said"))};
    for (int page = 1;; ++page)
    {
        const std::string ppm = ReadWhole(folder.GetPath("page" + std::to_string(page) + ".ppm"));
        if (ppm.empty())
        {
            return print;
        }
        print.fPages.push_back(ReadPicture(ppm));
    }
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

std::string MakePages(const APage& inPage, int inCount = 1)
{
    std::ostringstream job;
    job << "%!PS-Adobe-3.0\n%%EndComments\n%%BeginProlog\n"
        << kProbe << "%%EndProlog\n%%BeginSetup\n<</PageSize[" << inPage.fWidth << ' ' << inPage.fHeight
        << "]>>setpagedevice\n%%EndSetup\n";
    for (int page = 1; page <= inCount; ++page)
    {
        job << "%%Page: " << page << ' ' << page << "\n%%BeginPageSetup\n"
            << inPage.fSetup << "\n%%EndPageSetup\n"
            << inPage.fContent << "\nshowpage\n";
    }
    job << "%%Trailer\n%%EOF\n";
    return job.str();
}

std::string Mark(const std::string& inOptions, const std::string& inJob)
{
    AFilterRun run;
    run.fOptions = "VXwmrTextStyle=Fill " + inOptions;
    run.fPPD = MakePPD("*VXwmrSwitch Overlay/On: \"\"\n");
    run.fJob = inJob;
    return RunFilter(run).fOutput;
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

/// The ink of each half of a page, by colour.
std::map<AColor, int> CountColors(const APicture& inPage, bool inRightHalf)
{
    std::map<AColor, int> colors;
    for (int y = 0; y < inPage.fHeight; ++y)
    {
        for (int x = inRightHalf ? inPage.fWidth / 2 : 0; x < (inRightHalf ? inPage.fWidth : inPage.fWidth / 2); ++x)
        {
            ++colors[inPage.At(x, y)];
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
            const APrint print = Print(Mark(options, MakePages(test.fPage)), level);
            ASSERT_EQ(print.fPages.size(), 1U) << print.fSaid;
            EXPECT_EQ(print.fPages[0].fWidth, test.fPage.fWidth);
            const AInk ink = MeasureInk(print.fPages[0], test.fAngle);
            SCOPED_TRACE(options + " on " + test.fPage.fSetup);
            EXPECT_NEAR(ink.fAlong.GetMiddle(), 0, 5);
            EXPECT_GT(ink.fAlong.fHigh - ink.fAlong.fLow, 200);
            EXPECT_LT(ink.fAlong.fSum / ink.fAlong.fCount, -20) << "runs the other way";
            EXPECT_NEAR(ink.fAcross.GetMiddle(), 0, 15);
            EXPECT_NEAR(ink.fAcross.fHigh - ink.fAcross.fLow, 35, 8);
        }
    }
}

// The left half of the page is covered with what the page shows.
TEST(WatermarksOnPaper, LieUnderThePagesContentOrOverIt)
{
    const APage page{595, 842, "", "0 1 0 setrgbcolor 0 0 297 842 rectfill"};
    for (const char* const mode : {"Watermark", "Overlay"})
    {
        const APrint print = Print(Mark("VXwmrTextAngle=Deg0 VXwmrSwitch=" + std::string(mode), MakePages(page, 2)), 3);
        ASSERT_EQ(print.fPages.size(), 2U) << print.fSaid;
        for (const APicture& picture : print.fPages)
        {
            EXPECT_EQ(CountColors(picture, false).size(), std::string(mode) == "Overlay" ? 2U : 1U) << mode;
            EXPECT_EQ(CountColors(picture, true).size(), 2U) << mode;
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
        const APrint print = Print(Mark(std::string("VXwmrSwitch=Overlay ") + test.fOptions, MakePages(page)), 3);
        ASSERT_EQ(print.fPages.size(), 1U) << print.fSaid;
        const AColor patch = print.fPages[0].At(40, 40);
        EXPECT_NE(patch, kWhite);
        std::map<AColor, int> colors = CountColors(print.fPages[0], true);
        colors.erase(kWhite);
        ASSERT_EQ(colors.size(), 1U) << test.fOptions;
        for (std::size_t i = 0; i < patch.size(); ++i)
        {
            EXPECT_NEAR(colors.begin()->first[i], patch[i], 1) << test.fOptions;
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
        std::string job = Mark(options, MakePages(page));
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
        const APrint print =
            Print(Mark("VXwmrSwitch=Overlay VXwmrTextAngle=Deg0 VXwmCodedTextMessage=" + inText, MakePages({})), 3);
        EXPECT_EQ(print.fPages.size(), 1U) << print.fSaid;
        return print.fPages.empty() ? AInk() : MeasureInk(print.fPages[0], 0);
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
