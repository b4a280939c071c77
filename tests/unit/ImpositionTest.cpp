#include <algorithm>
#include <numeric>

#include <gtest/gtest.h>

#include "PagesReorderers/BookletReorderer.h"
#include "PagesReorderers/ManualDuplexReorderer.h"
#include "PagesReorderers/ReverseReorderer.h"

namespace
{

/// Pages that stand at their number.
APageOffsets MakePages(int inCount)
{
    APageOffsets pages(static_cast<std::size_t>(inCount));
    std::iota(pages.begin(), pages.end(), 1);
    return pages;
}

/// "8 1 B G": B a blank, G a guide.
std::string Show(const APageOffsets& inPages)
{
    std::string text;
    for (const std::int64_t page : inPages)
    {
        text += page == kBlankPage ? "B " : page == kGuidePage ? "G " : std::to_string(page) + " ";
    }
    return text.substr(0, text.size() - (text.empty() ? 0 : 1));
}

/// Where each page of a folded booklet is met: sheets lie in one another, each with its left and right halves.
/// Reading order is the right half of the front of sheet 1, both halves of its back, and so on inwards, and then out.
APageOffsets ReadFolded(const APageOffsets& inSides)
{
    APageOffsets read;
    for (std::size_t sheet = 0; sheet + 3 < inSides.size(); sheet += 4)
    {
        read.insert(read.begin() + static_cast<std::ptrdiff_t>(read.size() / 2),
                    {inSides[sheet + 1], inSides[sheet + 2], inSides[sheet + 3], inSides[sheet]});
    }
    return read;
}

} // namespace

TEST(Imposition, LaysABookletOutAsTheExamplesDo)
{
    const auto impose = [](int inCount, const ABookletPlan& inPlan)
    { return Show(ImposeBooklet(MakePages(inCount), inPlan)); };
    EXPECT_EQ(impose(5, {.fPagesPerCopy = 5, .fBackCover = true, .fIsRightToLeft = true}), "1 5 B 2 3 B B 4");
    EXPECT_EQ(impose(2, {.fPagesPerCopy = 2}), "B 1 2 B");
    EXPECT_EQ(impose(2, {.fPagesPerCopy = 2, .fBackCover = true}), "2 1");
    EXPECT_EQ(impose(1, {.fBackCover = true}), "1 B");
    EXPECT_EQ(impose(0, {.fPagesPerCopy = 0}), "");
}

TEST(Imposition, AFoldedBookletReadsFromTheFirstPageToTheLast)
{
    for (int count = 3; count <= 40; ++count)
    {
        const auto pages = static_cast<unsigned>(count);
        APageOffsets expected = MakePages(count);
        expected.resize((pages + 3) / 4 * 4, kBlankPage);
        EXPECT_EQ(ReadFolded(ImposeBooklet(MakePages(count), {.fPagesPerCopy = pages})), expected) << count;
        // The last page moves to the outside, and where it stood is blank.
        std::replace(expected.begin(), expected.end(), std::int64_t{count}, kBlankPage);
        expected.back() = count;
        EXPECT_EQ(ReadFolded(ImposeBooklet(MakePages(count), {.fPagesPerCopy = pages, .fBackCover = true})), expected)
            << count;
    }
}

TEST(Imposition, SplitsSheetsIntoTwoPassesAsTheExamplesDo)
{
    const auto split = [](int inCount, const AManualDuplexPlan& inPlan)
    { return Show(SplitIntoPasses(MakePages(inCount), inPlan)); };
    EXPECT_EQ(split(6, {.fPrintOnBottom = true, .fPrintGuide = true}), "G 2 4 6 G 1 3 5");
    EXPECT_EQ(split(6, {.fFaceDown = false, .fPrintOnBottom = true, .fPrintGuide = true}), "2 4 6 G G 5 3 1");
    EXPECT_EQ(split(6, {.fFaceDown = false, .fPrintGuide = true}), "6 4 2 G 5 3 1 G");
    EXPECT_EQ(split(6, {.fReverse = true, .fFaceDown = false, .fPrintGuide = true}), "1 3 5 G 2 4 6 G");
    EXPECT_EQ(split(6, {.fReverse = true, .fPrintGuide = true}), "G 1 3 5 6 4 2 G");
    EXPECT_EQ(split(6, {.fReverse = true, .fPrintOnBottom = true, .fPrintGuide = true}), "G 5 3 1 G 6 4 2");
    EXPECT_EQ(split(8, {.fBooklet = true}), "7 8 3 4 1 2 5 6");
    EXPECT_EQ(split(8, {.fBooklet = true, .fFaceDown = false, .fPrintOnBottom = true}), "3 4 7 8 5 6 1 2");
}

TEST(Imposition, ReversesTheListOnceAndKeepsSheetsTogether)
{
    EXPECT_EQ(Show(ReversePages(MakePages(5), {.fPadToSheets = true})), "B 5 4 3 2 1");
    EXPECT_EQ(Show(ReversePages(MakePages(4), {.fPadToSheets = true})), "4 3 2 1");
    EXPECT_EQ(Show(ReversePages(MakePages(5), {.fPadToSheets = true, .fIsReversedAlready = true})), "1 2 3 4 5 B");
    EXPECT_EQ(Show(ReversePages(MakePages(6), {.fDuplexFaceUp = true})), "5 6 3 4 1 2");
    EXPECT_EQ(Show(ReversePages(MakePages(8), {.fDuplexFaceUp = true, .fBooklet = true})), "5 6 7 8 1 2 3 4");
}
