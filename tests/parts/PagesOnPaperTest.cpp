// Pages that are moved, mirrored or put together, printed by Ghostscript: where their ink is.

#include <sstream>

#include <gtest/gtest.h>

#include "TestSupport.h"

namespace
{

constexpr const char* kStatements = "*MirrorPrint: \"True\"\n*VXBookletFilter: \"True\"\n"
                                    "*VXImageShiftDetails Front: \"<< /PageOffset [ %f %f ] >> setpagedevice\"\n";

/// What the job leaves on the two stacks, and the ink of each side as "left bottom right top" in points, each rounded
/// outwards by a point. Each page shows one bar, from 100 100 to 300 150.
std::string PrintBars(int inPages, const std::string& inOptions, const std::string& inPageSetup = "",
                      const std::string& inPPD = MakePPD(kStatements))
{
    std::string job = MakeJob(inPages, "<</PageSize[595 842]>>setpagedevice\n"
                                       "%%BeginFeature: *VXImageShiftFront True\n%%EndFeature\n");
    for (int page = 1; page <= inPages; ++page)
    {
        job = Replace(job, "(page " + std::to_string(page) + ") show", inPageSetup + "100 100 200 50 rectfill");
    }
    job = Replace(job, "%%EOF", "(left: )print count =only ( )print countdictstack =\n%%EOF");
    const AFilterResult result = RunFilter({.fOptions = inOptions, .fJob = job, .fPPD = inPPD});
    std::istringstream said(RunGhostscript("-dSAFER -sDEVICE=bbox", result.fOutput));
    std::string boxes;
    for (std::string line; std::getline(said, line);)
    {
        boxes += line.starts_with("%%HiRes") ? "" : line.substr(line.find(':') + 2) + "; ";
    }
    return boxes;
}

} // namespace

TEST(PagesOnPaper, AreShiftedByTheMillimetresAskedFor)
{
    EXPECT_EQ(PrintBars(1, ""), "0 3; 99 99 301 151; ");
    EXPECT_EQ(PrintBars(1, "VXImageShiftFront=True VXImageShiftFrontX=25.4 VXImageShiftFrontY=12.7"),
              "0 3; 171 135 373 187; ");
    EXPECT_EQ(PrintBars(1, "VXImageShiftFront=True VXImageShiftFrontX=25.4 VXRotate180=True"), "0 3; 27 99 229 151; ");
}

// A mirror leaves its matrix on the operand stack.
TEST(PagesOnPaper, AreMirroredAboutTheirMiddle)
{
    EXPECT_EQ(PrintBars(1, "MirrorPrint=True"), "1 3; 294 99 495 151; ");
    EXPECT_EQ(PrintBars(1, "MirrorPrint=True orientation-requested=4"), "1 3; 99 691 301 743; ");
}

TEST(PagesOnPaper, ShareASideOfABookletWhateverSizeAndClipTheySet)
{
    EXPECT_EQ(PrintBars(3, "VXBookletFilter=True VXBookletPaperSize=A4 media=A4",
                        "<</PageSize[595 842]>>setpagedevice\n0 0 400 400 rectclip\n"),
              "0 3; 481 493 516 630; 481 79 516 630; ");
}

TEST(PagesOnPaper, AreTurnedOnTheBackOfASheetThatIsTurnedByHand)
{
    EXPECT_EQ(PrintBars(2, "VXManualDuplexSupport=True VXManualDuplexSwitch=True media=A4", "", MakeSimplexPPD("")),
              "0 3; 294 691 495 743; 99 99 301 151; ");
}
