// The guide pages as they are shipped, printed by Ghostscript alone and in the middle of a job.

#include <gtest/gtest.h>

#include <unistd.h>
#include <zlib.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace
{

/// A guide's name, the edges it marks (in the order top, left, bottom, right) and how it says the stack lies.
struct AGuide
{
    const char* fName;
    const char* fMarkedEdges;
    const char* fText;
};

void PrintTo(const AGuide& inGuide, std::ostream* outStream)
{
    *outStream << inGuide.fName;
}

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

std::string ReadGuide(const char* inName)
{
    const std::string path = std::string(VX_BUILD_DIR "/guides/") + inName + ".gz";
    gzFile file = gzopen(path.c_str(), "rb");
    EXPECT_NE(file, nullptr) << path;
    std::string text;
    std::array<char, 4096> buffer{};
    for (int count = 0; file && (count = gzread(file, buffer.data(), buffer.size())) > 0;)
        text.append(buffer.data(), static_cast<size_t>(count));
    if (file)
        gzclose(file);
    return text;
}

std::string ReadOperatorProlog()
{
    std::ifstream file(VX_SOURCE_DIR "/tests/support/OperatorProlog.ps");
    EXPECT_TRUE(file.is_open());
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

/// Lets Ghostscript run the program; returns all it says, the text of an error too. Expects it to end well.
std::string RunGhostscript(const std::string& inOptions, std::string_view inProgram)
{
    std::string path = testing::TempDir() + "guideXXXXXX";
    const int descriptor = mkstemp(path.data());
    EXPECT_EQ(write(descriptor, inProgram.data(), inProgram.size()), static_cast<ssize_t>(inProgram.size()));
    close(descriptor);
    FILE* pipe = popen(("gs -q -dBATCH -dNOPAUSE " + inOptions + " " + path + " 2>&1").c_str(), "r");
    EXPECT_NE(pipe, nullptr);
    std::string output;
    for (int byte = 0; pipe && (byte = getc(pipe)) != EOF;)
        output += static_cast<char>(byte);
    EXPECT_EQ(pipe ? pclose(pipe) : -1, 0) << output;
    unlink(path.c_str());
    return output;
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

class Guides : public testing::TestWithParam<AGuide>
{
protected:
    const std::string fGuide = ReadGuide(GetParam().fName);
};

INSTANTIATE_TEST_SUITE_P(, Guides, testing::ValuesIn(kGuides),
                         [](const auto& inInfo) { return std::string(inInfo.param.fName); });

// The filter writes an end-of-file comment behind a guide. Only behind the header of an encapsulated file does a reader
// of the job take that for the guide's end and not for the job's.
TEST_P(Guides, AreEmbeddedDocumentsWithoutFurtherComments)
{
    std::istringstream lines(fGuide);
    std::string line;
    ASSERT_TRUE(std::getline(lines, line));
    EXPECT_EQ(line, "%!PS-Adobe-3.0 EPSF-3.0");
    while (std::getline(lines, line))
    {
        EXPECT_EQ(line.find('%'), std::string::npos) << line;
        EXPECT_EQ(line.find_first_not_of("\t !\"#$&'()*+,-./0123456789:;<=>?@ABCDEFGHIJKLMNOPQRSTUVWXYZ[\\]^_`"
                                         "abcdefghijklmnopqrstuvwxyz{|}~"),
                  std::string::npos)
            << line;
        EXPECT_LE(line.size(), 255u);
    }
    EXPECT_EQ(fGuide.back(), '\n');
}

TEST_P(Guides, PrintOnePageAloneOnAnyPageSize)
{
    constexpr double kSizes[][2] = {{595, 842}, {612, 792}, {420, 595}, {842, 595}, {1224, 792}, {288, 1000}};
    std::string program;
    for (const auto& [width, height] : kSizes)
        program += PageSize(width, height) + fGuide;
    const std::vector<AInk> pages = PagesIn(RunGhostscript("-sDEVICE=bbox", program));
    ASSERT_EQ(pages.size(), std::size(kSizes));
    for (size_t index = 0; index < std::size(kSizes) - 1; ++index)
        ExpectInsideMargins(pages[index], kSizes[index][0], kSizes[index][1]);
    EXPECT_GE(pages.back().fLeft, 12);
    EXPECT_LE(pages.back().fRight, 288 - 12);
}

TEST_P(Guides, MarkTheEdgesThatMayLeadAndSayWhichSideIsUp)
{
    const std::vector<AInk> pages = PagesIn(RunGhostscript("-sDEVICE=bbox", PageSize(560, 780) + fGuide));
    ASSERT_EQ(pages.size(), 1u);
    std::string marked;
    marked += pages[0].fTop > 780 - 50 ? "top " : "";
    marked += pages[0].fLeft < 50 ? "left " : "";
    marked += pages[0].fBottom < 50 ? "bottom " : "";
    marked += pages[0].fRight > 560 - 50 ? "right " : "";
    EXPECT_EQ(marked, GetParam().fMarkedEdges);

    const std::string text = RunGhostscript("-sDEVICE=txtwrite -sOutputFile=-", PageSize(560, 780) + fGuide);
    EXPECT_NE(text.find(GetParam().fText), std::string::npos) << text;
}

/// A job that has set everything a guide could stumble over, and reports its state before and behind the guide.
constexpr const char* kJobBeforeGuide = R"(
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
constexpr const char* kStateBeforeGuide = R"(
/Times-Roman 7 selectfont 0.5 setgray 9 setlinewidth 2 setlinecap 2 setlinejoin 3 setmiterlimit [1 2] 1 setdash
true setoverprint 0 0 50 50 rectclip
)";

class AGuideInJob
{
public:
    explicit AGuideInJob(std::string inGuide) : fGuide(std::move(inGuide)) {}

    /// The guide on a page of this size, behind the code that turns it; the page is ejected as in a real job.
    [[nodiscard]] std::string On(double inWidth, double inHeight, const std::string& inTurn) const
    {
        return PageSize(inWidth, inHeight) + "save\n" + inTurn + kStateBeforeGuide +
               "100 200 moveto true setglobal (operand) [ 1 2\n" + kJobBeforeGuide + "probe\n" + fGuide +
               "%%EOF\nprobe\nend cleartomark pop false setglobal restore\nVXsave\nVXshowpage\nVXrestore\n";
    }

private:
    std::string fGuide;
};

/// The lines that report a state, in order.
std::vector<std::string> StatesIn(const std::string& inOutput)
{
    std::vector<std::string> states;
    std::istringstream lines(inOutput);
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with("state:"))
            states.push_back(line);
    return states;
}

TEST_P(Guides, LeaveTheJobAsItWasAndItsPageUnejected)
{
    const AGuideInJob guide(fGuide);
    const std::string program = ReadOperatorProlog() + guide.On(595, 842, "595.0 842.0 translate 180 rotate\n") +
                                guide.On(612, 792, "") + guide.On(700, 500, "700.0 0 translate 90 rotate\n");
    for (const char* level : {"2", "3"})
    {
        const std::string output = RunGhostscript(std::string("-sDEVICE=bbox -dNOSAFER -dDELAYBIND -c '") + level +
                                                      " .setlanguagelevel .bindnow' -f",
                                                  program);
        const std::vector<std::string> states = StatesIn(output);
        ASSERT_EQ(states.size(), 6u) << output;
        for (size_t index = 0; index < states.size(); index += 2)
            EXPECT_EQ(states[index], states[index + 1]);
        const std::vector<AInk> pages = PagesIn(output);
        ASSERT_EQ(pages.size(), 3u) << output;
        ExpectInsideMargins(pages[0], 595, 842);
        ExpectInsideMargins(pages[1], 612, 792);
        ExpectInsideMargins(pages[2], 700, 500);
    }
}

// An error in the midst of a drawing leaves things on both stacks; the job must not notice.
TEST(AFailingGuide, LeavesTheJobAsItWas)
{
    std::string text = ReadGuide("shortDownGuide");
    const std::string firstStep = "30 30 translate\n";
    ASSERT_NE(text.find(firstStep), std::string::npos);
    text.replace(text.find(firstStep), firstStep.size(), "gsave systemdict begin [ 1 (operand) noSuchOperator\n");
    const std::vector<std::string> states =
        StatesIn(RunGhostscript("-sDEVICE=bbox", ReadOperatorProlog() + AGuideInJob(text).On(595, 842, "")));
    ASSERT_EQ(states.size(), 2u);
    EXPECT_EQ(states[0], states[1]);
}

} // namespace
