#include "Paper.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <regex>
#include <sstream>
#include <string_view>

#include <gtest/gtest.h>

#include "Launch.h"

namespace
{

constexpr const char* kDrawing = "/number { /Helvetica findfont 300 scalefont setfont 200 300 moveto\n"
                                 "dup 10 string cvs show\n"
                                 "/Helvetica findfont 20 scalefont setfont 72 60 moveto\n"
                                 "96 add (x) dup 0 4 -1 roll put show showpage } bind def\n";

/// From the middle of the letter to that of the number on an upright page.
constexpr double kRight = 210;
constexpr double kUp = 380;

struct AWord
{
    std::string fText;
    double fX; ///< of its middle
    double fY;
    double fSize; ///< the longer edge of its box
};

bool Shell(const ATemporaryFolder& inFolder, const std::string& inScript)
{
    const std::string script = inFolder.Write("script", "set -e\ncd " + inFolder.GetPath() + "\n" + inScript);
    return std::system(("bash " + script).c_str()) == 0;
}

/// Draws the file "job" as the printer would, no page turned to be read better, and measures what was drawn.
constexpr const char* kDraw =
    "timeout 100 gs -q -dSAFER -dAutoRotatePages=/None -sDEVICE=pdfwrite -o paper.pdf " VX_SOURCE_DIR
    "/tests/support/DeviceProlog.ps job >device 2>&1\n"
    "pdftotext -bbox paper.pdf words 2>/dev/null\n" // it mentions each side without a word
    "gs -q -dSAFER -sDEVICE=inkcov -r20 -o ink paper.pdf\n";

std::vector<AWord> ReadWords(const std::string& inText)
{
    static const std::regex kWord("<word xMin=\"([0-9.-]+)\" yMin=\"([0-9.-]+)\" xMax=\"([0-9.-]+)\" "
                                  "yMax=\"([0-9.-]+)\">([^<]*)</word>");
    std::vector<AWord> words;
    for (auto word = std::sregex_iterator(inText.begin(), inText.end(), kWord); word != std::sregex_iterator(); ++word)
    {
        const double left = std::stod((*word)[1]);
        const double top = std::stod((*word)[2]);
        const double right = std::stod((*word)[3]);
        const double bottom = std::stod((*word)[4]);
        words.push_back({(*word)[5], (left + right) / 2, (top + bottom) / 2, std::max(right - left, bottom - top)});
    }
    return words;
}

APrintedPage MakePage(const AWord& inNumber, const AWord& inLetter)
{
    const double right = inNumber.fX - inLetter.fX;
    const double up = inLetter.fY - inNumber.fY;
    const bool isUpright = std::abs(up) > std::abs(right);
    APrintedPage page;
    page.fNumber = std::stoi(inNumber.fText);
    page.fTurn = isUpright ? (up > 0 ? '^' : 'v') : (right > 0 ? '>' : '<');
    page.fIsMirrored = isUpright == (right * up < 0);
    page.fX = inNumber.fX;
    page.fY = inNumber.fY;
    page.fScale = std::hypot(right, up) / std::hypot(kRight, kUp);
    return page;
}

bool IsLetterOf(const AWord& inNumber, const AWord& inWord)
{
    return inWord.fText == std::string(1, static_cast<char>('a' - 1 + std::stoi(inNumber.fText))) &&
           inNumber.fSize > 10 * inWord.fSize;
}

std::vector<APrintedPage> FindPages(const std::vector<AWord>& inWords)
{
    std::vector<APrintedPage> pages;
    for (const AWord& number : inWords)
    {
        if (number.fText.find_first_not_of("0123456789") != std::string::npos || number.fText.size() > 2)
        {
            continue;
        }
        const auto letter =
            std::find_if(inWords.begin(), inWords.end(), [&](const AWord& word) { return IsLetterOf(number, word); });
        if (letter != inWords.end())
        {
            pages.push_back(MakePage(number, *letter));
        }
    }
    return pages;
}

/// Reads what the device said, and how much ink there is, side by side.
void ReadMeasures(const ATemporaryFolder& inFolder, std::vector<ASide>& ioSides)
{
    std::istringstream device(ReadFile(inFolder.GetPath("device")));
    std::istringstream ink(ReadFile(inFolder.GetPath("ink")));
    std::string line;
    for (ASide& side : ioSides)
    {
        std::array<double, 4> cover{};
        std::string rest;
        ink >> cover[0] >> cover[1] >> cover[2] >> cover[3];
        std::getline(ink, rest);
        side.fInk = cover[3];
        side.fColour = cover[0] + cover[1] + cover[2];
        while (side.fDevice.empty() && std::getline(device, line))
        {
            side.fDevice = line.starts_with("side ") ? line.substr(5) : "";
        }
        EXPECT_NE(side.fDevice, "") << "more sides than the device printed";
        side.fDevice +=
            " size=" + std::to_string(std::lround(side.fWidth)) + "x" + std::to_string(std::lround(side.fHeight));
    }
}

std::string ShowPage(const APrintedPage& inPage)
{
    std::string text = std::to_string(inPage.fNumber);
    return text.append(inPage.fTurn == '^' ? "" : std::string(1, inPage.fTurn)).append(inPage.fIsMirrored ? "m" : "");
}

/// How far a page stands from the others of its side in reading order, when its head is up.
double GetPlace(const APrintedPage& inPage)
{
    constexpr double kLine = 20; // rows count more than columns; the middle of a number differs with its digits
    switch (inPage.fTurn)
    {
    case '<':
        return inPage.fX * kLine - inPage.fY;
    case '>':
        return -inPage.fX * kLine + inPage.fY;
    case 'v':
        return -inPage.fY * kLine - inPage.fX;
    default:
        return inPage.fY * kLine + inPage.fX;
    }
}

std::string ShowSide(const ASide& inSide)
{
    if (inSide.fPages.empty())
    {
        return inSide.fInk + inSide.fColour > 0 ? "G" : "B";
    }
    std::vector<APrintedPage> pages = inSide.fPages;
    std::sort(pages.begin(), pages.end(),
              [](const APrintedPage& a, const APrintedPage& b) { return GetPlace(a) < GetPlace(b); });
    std::string text;
    for (const APrintedPage& page : pages)
    {
        text.append(text.empty() ? "" : "+").append(ShowPage(page));
    }
    return text;
}

/// What stands between two heights of a side; "!" at a page that is not turned as the pages of a booklet are.
std::string ShowHalf(const ASide& inSide, double inTop, double inBottom)
{
    std::string text;
    for (const APrintedPage& page : inSide.fPages)
    {
        if (page.fY >= inTop && page.fY < inBottom)
        {
            text += std::to_string(page.fNumber) + (page.fTurn == '<' && !page.fIsMirrored ? "" : "!");
        }
    }
    return text.empty() ? "B" : text;
}

template <typename AShow>
std::string Join(const std::vector<ASide>& inSides, const char* inBetween, AShow inShow)
{
    std::string text;
    for (const ASide& side : inSides)
    {
        text.append(text.empty() ? "" : inBetween).append(inShow(side));
    }
    return text;
}

std::vector<ASide> ReadDocument(const std::string& inDocument)
{
    const ATemporaryFolder folder;
    constexpr std::string_view kProtocol = "\x01M"; // for the printer's port, not for its interpreter
    folder.Write("job", inDocument.starts_with(kProtocol) ? inDocument.substr(kProtocol.size()) : inDocument);
    EXPECT_TRUE(Shell(folder, kDraw)) << ReadFile(folder.GetPath("device"));
    const std::string text = ReadFile(folder.GetPath("words"));
    static const std::regex kPage("<page width=\"([0-9.]+)\" height=\"([0-9.]+)\">");
    std::vector<ASide> sides;
    for (std::size_t at = text.find("<page "); at != std::string::npos;)
    {
        const std::size_t next = text.find("<page ", at + 1);
        const std::string content = text.substr(at, next - at);
        const std::vector<AWord> words = ReadWords(content);
        std::smatch size;
        std::regex_search(content, size, kPage);
        ASide side;
        side.fWidth = std::stod(size[1]);
        side.fHeight = std::stod(size[2]);
        side.fPages = FindPages(words);
        std::transform(words.begin(), words.end(), std::back_inserter(side.fWords),
                       [](const AWord& word) { return word.fText; });
        sides.push_back(side);
        at = next;
    }
    ReadMeasures(folder, sides);
    return sides;
}

} // namespace

std::vector<ASide> ReadSides(const std::string& inJobPath)
{
    // A printer forgets everything at the byte that ends a document.
    std::istringstream job(ReadFile(inJobPath));
    std::vector<ASide> sides;
    for (std::string document; std::getline(job, document, '\x04');)
    {
        const std::vector<ASide> more = ReadDocument(document);
        sides.insert(sides.end(), more.begin(), more.end());
    }
    return sides;
}

std::string MakeNumberedPDF(const ATemporaryFolder& inFolder, int inPages, int inWidth, int inHeight)
{
    const std::string name = "numbered" + std::to_string(inPages) + "-" + std::to_string(inWidth);
    const std::string source =
        inFolder.Write(name + ".ps", "%!PS\n" + std::string(kDrawing) + "<</PageSize[" + std::to_string(inWidth) + " " +
                                         std::to_string(inHeight) + "]>>setpagedevice 1 1 " + std::to_string(inPages) +
                                         " {number} for\n");
    const std::string document = inFolder.GetPath(name + ".pdf");
    EXPECT_TRUE(
        Shell(inFolder, "gs -q -dSAFER -dAutoRotatePages=/None -sDEVICE=pdfwrite -o " + document + " " + source));
    return document;
}

std::string MakeNumberedPostScript(const ATemporaryFolder& inFolder, int inPages)
{
    const std::string count = std::to_string(inPages);
    std::string job = "%!PS-Adobe-3.0\n%%Pages: " + count + "\n%%BoundingBox: 0 0 595 842\n%%EndComments\n" +
                      "%%BeginProlog\n" + kDrawing + "%%EndProlog\n%%BeginSetup\n%%EndSetup\n";
    for (int page = 1; page <= inPages; ++page)
    {
        const std::string number = std::to_string(page);
        job.append("%%Page: ").append(number).append(" ").append(number);
        job.append("\n%%BeginPageSetup\n%%EndPageSetup\n").append(number).append(" number\n%%PageTrailer\n");
    }
    return inFolder.Write("numbered" + count + ".ps", job + "%%Trailer\n%%EOF\n");
}

std::string ShowSides(const std::vector<ASide>& inSides)
{
    return Join(inSides, " ", ShowSide);
}

std::string ShowBooklet(const std::vector<ASide>& inSides)
{
    return Join(inSides, " | ",
                [](const ASide& side)
                {
                    const double middle = side.fHeight / 2;
                    return ShowHalf(side, middle, side.fHeight).append(" ").append(ShowHalf(side, 0, middle));
                });
}

std::string ShowTrays(const std::vector<ASide>& inSides)
{
    return Join(inSides, " ",
                [](const ASide& side) {
                    return side.Holds("manual=true") ? std::string("manual")
                                                     : side.fDevice.substr(5, side.fDevice.find(' ') - 5);
                });
}

std::string ShowDuplex(const std::vector<ASide>& inSides)
{
    return Join(inSides, " ",
                [](const ASide& side)
                {
                    const char* turned = side.Holds("tumble=true") ? "short" : "long";
                    return std::string(side.Holds("duplex=true") ? turned : "one");
                });
}

std::string ShowColours(const std::vector<ASide>& inSides)
{
    return Join(inSides, " ", [](const ASide& side) { return std::string(side.fColour > 0 ? "colour" : "gray"); });
}
