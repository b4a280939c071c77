#include <cstdlib>

#include <gtest/gtest.h>

#include "Launch.h"
#include "Paper.h"

namespace
{

/// Prints a document as CUPS does, and reads what stands on each side of the paper.
std::vector<ASide> Print(const std::string& inPrinter, int inPages, const std::string& inOptions)
{
    const ATemporaryFolder folder;
    const std::string base = folder.GetPath();
    const std::string document = MakeNumberedPDF(folder, inPages);
    const std::string script = folder.Write(
        "print.sh", std::string("set -euo pipefail\nsource ") + VX_SOURCE_DIR + "/tools/setup.sh\nsource " +
                        VX_SOURCE_DIR + "/tools/chain.sh\nmake_chain " + base + "/chain\nrun_cupsfilter " + base +
                        "/chain " + VX_BUILD_DIR + "/ppd/" + inPrinter + ".ppd " + inOptions + " -- " + document +
                        " >" + base + "/job 2>" + base + "/log\n");
    EXPECT_EQ(std::system(("bash " + script).c_str()), 0) << ReadFile(base + "/log");
    return ReadSides(base + "/job");
}

const std::string kBooklet = "-o VXBookletFilter=True -o VXBookletPaperSize=A4 ";
const std::string kByHand = "-o VXManualDuplexSupport=True -o VXManualDuplexSwitch=True ";
const std::string kWithGuide = kByHand + "-o VXManualDuplexPrintGuide=True ";

} // namespace

TEST(Sheets, BookletSidesHoldTheirTwoPages)
{
    EXPECT_EQ(ShowBooklet(Print("office", 8, kBooklet)), "8 1 | 2 7 | 6 3 | 4 5");
    EXPECT_EQ(ShowBooklet(Print("office", 5, kBooklet + "-o VXBookletPageOrder=Asian")), "1 B | B 2 | 3 B | 5 4");
    EXPECT_EQ(ShowBooklet(Print("office", 6, kBooklet + "-o VXBookletBackCover=True")), "6 1 | 2 B | B 3 | 4 5");
    EXPECT_EQ(ShowBooklet(Print("office", 1, kBooklet)), "B 1");
    EXPECT_EQ(ShowBooklet(Print("office", 5, kBooklet + "-o VXFaceOrientation=FaceUp")), "B 3 | 4 5 | B 1 | 2 B");
}

TEST(Sheets, BookletSheetsHaveTheirOwnSize)
{
    const std::vector<ASide> sides = Print("office", 4, "-o VXBookletFilter=True -o media=A4");
    ASSERT_EQ(ShowBooklet(sides), "4 1 | 2 3");
    for (const ASide& side : sides)
    {
        EXPECT_EQ(side.fWidth, 612);
        EXPECT_EQ(side.fHeight, 792);
    }
}

TEST(Sheets, CollatedBookletsFollowOneAnother)
{
    EXPECT_EQ(ShowBooklet(Print("office", 4, kBooklet + "-n 3 -o collate=true")), "4 1 | 2 3");
}

TEST(Sheets, ByHandTheBacksComeFirst)
{
    EXPECT_EQ(ShowSides(Print("manual", 5, kByHand)), "B 4v 2v 1 3 5");
    EXPECT_EQ(ShowSides(Print("manual", 4, kByHand + "-o VXManualDuplexOrientation=DuplexTumble")), "4 2 1 3");
    EXPECT_EQ(ShowSides(Print("manual", 5, kByHand + "-o MFPrintOnBottom=True")), "2v 4v B 1 3 5");
    EXPECT_EQ(ShowSides(Print("office", 4, kByHand + "-o VXFaceOrientation=FaceUp")), "4 2 3 1");
    EXPECT_EQ(ShowSides(Print("manual", 1, kByHand)), "1");
}

TEST(Sheets, GuidesStandWhereTheStackIsTurned)
{
    EXPECT_EQ(ShowSides(Print("manual", 3, kWithGuide)), "G B 2v 1 3 G");
    EXPECT_EQ(ShowSides(Print("manual", 4, kWithGuide + "-o MFPrintOnBottom=True")), "G 2v 4v G 1 3");
    EXPECT_EQ(ShowSides(Print("office", 4, kWithGuide + "-o VXFaceOrientation=FaceUp")), "4 2 G 3 1 G");
}

TEST(Sheets, BookletsByHandHaveBothPagesOnEachSide)
{
    EXPECT_EQ(ShowBooklet(Print("manual", 8, kBooklet + "-o VXManualDuplexSupport=True")), "4 5 | 2 7 | 8 1 | 6 3");
}

TEST(Sheets, FaceUpSheetsComeLastFirstAndReverseOrderIsReverse)
{
    EXPECT_EQ(ShowSides(Print("office", 5, "-o sides=two-sided-long-edge -o VXFaceOrientation=FaceUp")), "5 B 3 4 1 2");
    EXPECT_EQ(ShowSides(Print("office", 3, "-o VXFaceOrientation=FaceUp")), "3 2 1");
    EXPECT_EQ(ShowSides(Print("office", 3, "-o OutputOrder=Reverse")), "3 2 1");
    EXPECT_EQ(ShowSides(Print("wide", 3, "")), "3 2 1");
}
