// The guide pages as they are shipped, printed by Ghostscript alone and in the middle of a job.

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "TestSupport.h"

namespace
{

/// A guide's name, the edges it marks (in the order top, left, bottom, right) and how it says the stack lies.
struct AGuide
{
    const char* fName;
    const char* fMarkedEdges;
    const char* fText;
};

constexpr AGuide kGuides[] = {
    {"shortDownGuide", "top ", "printed sides DOWN"},
    {"shortUpGuide", "top ", "printed sides UP"},
    {"longDownGuide", "left ", "printed sides DOWN"},
    {"longUpGuide", "left ", "printed sides UP"},
    {"eitherRightDownTop", "bottom right ", "printed sides DOWN"},
    {"eitherRightDownBottom", "bottom right ", "printed sides UP"},
    {"eitherLeftUpTop", "top left ", "printed sides DOWN"},
    {"eitherLeftUpBottom", "top left ", "printed sides UP"},
    {"eitherRightUpTop", "top right ", "printed sides DOWN"},
    {"eitherRightUpBottom", "top right ", "printed sides UP"},
    {"eitherLeftDownTop", "left bottom ", "printed sides DOWN"},
    {"eitherLeftDownBottom", "left bottom ", "printed sides UP"},
    {"recycledGuide", "", "can be recycled"},
};

/// What a page has on it, in points.
struct AInk
{
    double fLeft, fBottom, fRight, fTop;
};

std::string ReadGuide(const std::string& inName)
{
    return RunShell("zcat " VX_BUILD_DIR "/guides/" + inName + ".gz");
}

/// The ink of every printed page, as the device "bbox" reports it.
std::vector<AInk> PagesIn(const std::string& inOutput)
{
    constexpr std::string_view kReport = "%%HiResBoundingBox:";
    std::vector<AInk> pages;
    for (size_t at = 0; (at = inOutput.find(kReport, at)) != std::string::npos;)
    {
        at += kReport.size();
        AInk ink{};
        EXPECT_EQ(std::sscanf(&inOutput[at], "%lf %lf %lf %lf", &ink.fLeft, &ink.fBottom, &ink.fRight, &ink.fTop), 4);
        pages.push_back(ink);
    }
    return pages;
}

/// Ink that is clipped reaches the page's edge; ink beyond the usual margins would be lost on a real printer.
void ExpectInsideMargins(const AInk& inInk, double inWidth, double inHeight)
{
    const double margin = 12;
    EXPECT_GE(inInk.fLeft, margin);
    EXPECT_GE(inInk.fBottom, margin);
    EXPECT_LE(inInk.fRight, inWidth - margin);
    EXPECT_LE(inInk.fTop, inHeight - margin);
    EXPECT_GT(inInk.fRight - inInk.fLeft, inWidth / 4);
    EXPECT_GT(inInk.fTop - inInk.fBottom, inHeight / 4);
}

std::string PageSize(double inWidth, double inHeight)
{
    std::ostringstream text;
    text << "<</PageSize [" << inWidth << ' ' << inHeight << "]>> setpagedevice\n";
    return text.str();
}

/// A job that has set everything a guide could stumble over, and reports its state before and behind the guide.
constexpr const char* kJobBeforeGuide = R"(
/Times-Roman 7 selectfont 0.5 setgray 9 setlinewidth 2 setlinecap 2 setlinejoin 3 setmiterlimit [1 2] 1 setdash
true setoverprint 0 0 50 50 rectclip 100 200 moveto true setglobal (operand) [ 1 2
userdict /probe {
    (state: ) print currentglobal dup ==only false setglobal
    [ count countdictstack matrix VXcurrent aload pop currentpoint
      currentgray currentlinewidth currentlinecap currentlinejoin currentmiterlimit currentdash
      currentoverprint currentfont /FontName get currentdict /probed known ] { ( ) print ==only } forall
    setglobal (\n) print flush
} bind put
20 dict begin
/probed true def
[/moveto /show /stroke /fill /def /exch /dup /gsave /findfont /selectfont /setgray /dict]
{ currentdict exch { (the job's own operator was called\n) print stop } put } bind forall
)";

/// The guide on a page of this size, behind the code that turns it; the page is ejected as in a real job.
std::string InJob(const std::string& inGuide, double inWidth, double inHeight, const std::string& inTurn)
{
    return PageSize(inWidth, inHeight) + "save\n" + inTurn + kJobBeforeGuide + "probe\n" + inGuide +
           "%%EOF\nprobe\nend cleartomark pop false setglobal restore\nVXsave\nVXshowpage\nVXrestore\n";
}

/// The pages of a job that begins as the filter lets one begin. Expects each guide to leave the state as it was.
std::vector<AInk> PrintJob(const std::string& inPages, const std::string& inOptions)
{
    const AFilterResult job = RunFilter({.fOptions = "VXManualDuplexSupport=True VXManualDuplexSwitch=True media=A4",
                                         .fJob = MakeJob(2),
                                         .fPPD = MakeSimplexPPD("")});
    const std::string operators = Between(job.fOutput, "%!PS-Adobe-3.0\n", "%%EndComments").value_or("none");
    const std::string output = RunGhostscript("-sDEVICE=bbox " + inOptions, operators + inPages);
    std::istringstream lines(output);
    std::vector<std::string> states;
    for (std::string line; std::getline(lines, line);)
    {
        if (line.starts_with("state:"))
        {
            states.push_back(line);
        }
    }
    EXPECT_EQ(states.size(), 2 * PagesIn(output).size()) << output;
    for (size_t index = 0; index + 1 < states.size(); index += 2)
    {
        EXPECT_EQ(states[index], states[index + 1]);
    }
    return PagesIn(output);
}

} // namespace

// The filter writes an end-of-file comment behind a guide. Only behind the header of an encapsulated file does a reader
// of the job take that for the guide's end and not for the job's.
TEST(Guides, AreEmbeddedDocumentsWithoutFurtherComments)
{
    for (const AGuide& guide : kGuides)
    {
        std::istringstream lines(ReadGuide(guide.fName));
        std::string line;
        ASSERT_TRUE(std::getline(lines, line));
        EXPECT_EQ(line, "%!PS-Adobe-3.0 EPSF-3.0") << guide.fName;
        while (std::getline(lines, line))
        {
            EXPECT_TRUE(!lines.eof() && line.size() <= 255 && line.find('%') == std::string::npos) << line;
            EXPECT_TRUE(std::all_of(line.begin(), line.end(),
                                    [](unsigned char inByte) { return inByte == '\t' || std::isprint(inByte) != 0; }))
                << line;
        }
    }
}

TEST(Guides, PrintOnAnyPageSizeTheEdgesThatMayLeadAndWhichSideIsUp)
{
    constexpr double kSizes[][2] = {{595, 842}, {612, 792}, {420, 595}, {842, 595}, {1224, 792}, {288, 1000}};
    for (const AGuide& guide : kGuides)
    {
        SCOPED_TRACE(guide.fName);
        std::string program;
        for (const auto& [width, height] : kSizes)
        {
            program += PageSize(width, height) + ReadGuide(guide.fName);
        }
        const std::vector<AInk> pages = PagesIn(RunGhostscript("-sDEVICE=bbox", program));
        ASSERT_EQ(pages.size(), std::size(kSizes));
        for (size_t index = 0; index < std::size(kSizes) - 1; ++index)
        {
            ExpectInsideMargins(pages[index], kSizes[index][0], kSizes[index][1]);
        }
        EXPECT_GE(pages.back().fLeft, 12);
        EXPECT_LE(pages.back().fRight, 288 - 12);

        const AInk& a4 = pages.front();
        const std::string marked = std::string(a4.fTop > 842 - 50 ? "top " : "") + (a4.fLeft < 50 ? "left " : "") +
                                   (a4.fBottom < 50 ? "bottom " : "") + (a4.fRight > 595 - 50 ? "right " : "");
        EXPECT_EQ(marked, guide.fMarkedEdges);
        const std::string text = RunGhostscript("-sDEVICE=txtwrite -sOutputFile=-", program);
        EXPECT_EQ(CountOf(text, guide.fText), std::size(kSizes)) << text;
    }
}

TEST(Guides, LeaveTheJobAsItWasAndItsPageUnejected)
{
    for (const AGuide& guide : kGuides)
    {
        const std::string text = ReadGuide(guide.fName);
        const std::string program = InJob(text, 595, 842, "595.0 842.0 translate 180 rotate\n") +
                                    InJob(text, 612, 792, "") + InJob(text, 700, 500, "700.0 0 translate 90 rotate\n");
        for (const std::string level : {"2", "3"})
        {
            SCOPED_TRACE(guide.fName + level);
            const std::vector<AInk> pages =
                PrintJob(program, "-dNOSAFER -dDELAYBIND -c '" + level + " .setlanguagelevel .bindnow' -f");
            ASSERT_EQ(pages.size(), 3U);
            ExpectInsideMargins(pages[0], 595, 842);
            ExpectInsideMargins(pages[1], 612, 792);
            ExpectInsideMargins(pages[2], 700, 500);
        }
    }
}

// An error in the midst of a drawing leaves things on both stacks; the job must not notice.
TEST(AFailingGuide, LeavesTheJobAsItWas)
{
    const std::string whole = ReadGuide("shortDownGuide");
    const std::string text =
        Replace(whole, "30 30 translate\n", "gsave systemdict begin [ 1 (operand) noSuchOperator\n");
    ASSERT_NE(text, whole);
    EXPECT_EQ(PrintJob(InJob(text, 595, 842, ""), "").size(), 1U);
}
