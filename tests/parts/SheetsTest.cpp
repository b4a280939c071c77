#include <cstdlib>
#include <fstream>
#include <regex>
#include <vector>

#include <gtest/gtest.h>

#include "TemporaryFolder.h"

namespace
{

/// What is drawn on a side, in points from its top left corner.
struct AWord
{
    std::string fText;
    double fX;
    double fY;
};

struct ASide
{
    double fWidth;
    double fHeight;
    std::vector<AWord> fWords;
};

int Shell(const std::string& inCommand)
{
    return std::system(("bash -c '" + inCommand + "'").c_str());
}

std::string ReadFile(const std::string& inPath)
{
    std::ifstream file(inPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// A document whose pages bear their number, and the word "foot" at their lower left.
std::string MakeDocument(const ATemporaryFolder& inFolder, int inPages)
{
    const std::string count = std::to_string(inPages);
    const std::string source =
        inFolder.Write("document.ps", "%!PS\n1 1 " + count +
                                          " {\n/Helvetica findfont 300 scalefont setfont\n"
                                          "dup 10 string cvs 200 300 moveto show pop\n"
                                          "/Helvetica findfont 20 scalefont setfont 72 60 moveto (foot) show\n"
                                          "showpage } for\n");
    const std::string document = inFolder.GetPath("document.pdf");
    EXPECT_EQ(Shell("gs -q -dSAFER -sDEVICE=pdfwrite -sPAPERSIZE=a4 -o " + document + " " + source), 0);
    return document;
}

/// Prints a document as CUPS does, and reads what stands on each side of the paper.
std::vector<ASide> Print(const std::string& inPrinter, int inPages, const std::string& inOptions)
{
    const ATemporaryFolder folder;
    const std::string base = folder.GetPath();
    const std::string document = MakeDocument(folder, inPages);
    const std::string script = folder.Write(
        "print.sh", std::string("set -euo pipefail\nsource ") + VX_SOURCE_DIR + "/tools/setup.sh\nsource " +
                        VX_SOURCE_DIR + "/tools/chain.sh\nmake_chain " + base + "/chain\nrun_cupsfilter " + base +
                        "/chain " + VX_BUILD_DIR + "/ppd/" + inPrinter + ".ppd " + inOptions + " -- " + document +
                        " >" + base + "/job 2>" + base + "/log\ninterpret " + base + "/job -sDEVICE=pdfwrite -o " +
                        base + "/paper.pdf\npdftotext -bbox " + base + "/paper.pdf " + base + "/words\n");
    EXPECT_EQ(Shell("bash " + script), 0) << ReadFile(base + "/log");
    const std::string words = ReadFile(base + "/words");
    static const std::regex kPage("<page width=\"([0-9.]+)\" height=\"([0-9.]+)\">");
    static const std::regex kWord("<word xMin=\"([0-9.-]+)\" yMin=\"([0-9.-]+)\" xMax=\"[^\"]*\" "
                                  "yMax=\"[^\"]*\">([^<]*)</word>");
    std::vector<ASide> sides;
    for (std::size_t at = words.find("<page "); at != std::string::npos;)
    {
        const std::size_t next = words.find("<page ", at + 1);
        const std::string text = words.substr(at, next - at);
        std::smatch page;
        std::regex_search(text, page, kPage);
        ASide side = {std::stod(page[1]), std::stod(page[2]), {}};
        for (auto word = std::sregex_iterator(text.begin(), text.end(), kWord); word != std::sregex_iterator(); ++word)
        {
            side.fWords.push_back({(*word)[3], std::stod((*word)[1]), std::stod((*word)[2])});
        }
        sides.push_back(side);
        at = next;
    }
    return sides;
}

bool IsNumber(const AWord& inWord)
{
    return inWord.fText.find_first_not_of("0123456789") == std::string::npos;
}

/// "3" an upright page, "3v" one upside down, "B" a blank side, "G" a guide.
std::string ShowSide(const ASide& inSide)
{
    if (inSide.fWords.empty())
    {
        return "B";
    }
    if (inSide.fWords.size() != 2)
    {
        return "G";
    }
    const bool isNumberFirst = IsNumber(inSide.fWords[0]);
    const AWord& number = inSide.fWords[isNumberFirst ? 0 : 1];
    const AWord& foot = inSide.fWords[isNumberFirst ? 1 : 0];
    return number.fText + (foot.fY > number.fY ? "" : "v");
}

std::string ShowSides(const std::vector<ASide>& inSides)
{
    std::string text;
    for (const ASide& side : inSides)
    {
        text.append(text.empty() ? "" : " ").append(ShowSide(side));
    }
    return text;
}

/// The number in the half of a sheet side that lies between two heights; turned by a quarter, its foot to the right.
std::string ShowHalf(const ASide& inSide, double inTop, double inBottom)
{
    std::string text;
    double foot = 0;
    double number = 0;
    for (const AWord& word : inSide.fWords)
    {
        if (word.fY >= inTop && word.fY < inBottom)
        {
            (IsNumber(word) ? number : foot) = word.fX;
            text += IsNumber(word) ? word.fText : "";
        }
    }
    return text.empty() ? "B" : text + (foot > number && foot < inSide.fWidth && number > 0 ? "" : "!");
}

/// Left and right half of each sheet side, as seen when the sheet is turned by a quarter: "8 1 | 2 7".
std::string ShowBooklet(const std::vector<ASide>& inSides)
{
    std::string text;
    for (const ASide& side : inSides)
    {
        text.append(text.empty() ? "" : " | ").append(ShowHalf(side, side.fHeight / 2, side.fHeight));
        text.append(" ").append(ShowHalf(side, 0, side.fHeight / 2));
    }
    return text;
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
