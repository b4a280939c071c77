#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "PagesReorderers/BookletReorderer.h"
#include "PagesReorderers/ManualDuplexReorderer.h"
#include "PagesReorderers/ReverseReorderer.h"

namespace
{

constexpr int kMostPages = 40;

/// Pages that stand at their number.
APageOffsets MakePages(int inCount)
{
    APageOffsets pages;
    for (int page = 1; page <= inCount; ++page)
    {
        pages.push_back(page);
    }
    return pages;
}

/// "8 1 B G": B a blank, G a guide.
std::string Show(const APageOffsets& inPages)
{
    std::string text;
    for (const std::int64_t page : inPages)
    {
        const std::string name = page == kBlankPage ? "B" : (page == kGuidePage ? "G" : std::to_string(page));
        text += (text.empty() ? "" : " ") + name;
    }
    return text;
}

int CountOf(const APageOffsets& inPages, std::int64_t inPage)
{
    return static_cast<int>(std::count(inPages.begin(), inPages.end(), inPage));
}

/// True when every one of the pages stands in the list, and none twice.
bool HoldsEachOnce(const APageOffsets& inPages, int inCount)
{
    APageOffsets found;
    std::copy_if(inPages.begin(), inPages.end(), std::back_inserter(found), [](auto inPage) { return inPage > 0; });
    std::sort(found.begin(), found.end());
    return found == MakePages(inCount);
}

ABookletPlan MakeBookletPlan(int inCopies, int inPagesPerCopy, bool inBackCover = false, bool inIsRightToLeft = false)
{
    return {static_cast<unsigned>(inCopies), static_cast<unsigned>(inPagesPerCopy), inBackCover, inIsRightToLeft};
}

std::string Booklet(int inPages, bool inBackCover = false, bool inIsRightToLeft = false)
{
    return Show(ImposeBooklet(MakePages(inPages), MakeBookletPlan(1, inPages, inBackCover, inIsRightToLeft)));
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

AManualDuplexPlan MakePassPlan(unsigned inFlags)
{
    return {(inFlags & 1) != 0, (inFlags & 2) != 0, (inFlags & 4) != 0, (inFlags & 8) != 0, (inFlags & 16) != 0};
}

constexpr unsigned kPassPlans = 32;

APageOffsets WithoutGuides(APageOffsets inPages)
{
    std::erase(inPages, kGuidePage);
    return inPages;
}

} // namespace

TEST(Booklet, LaysPagesOutAsTheExamplesDo)
{
    EXPECT_EQ(Booklet(8), "8 1 2 7 6 3 4 5");
    EXPECT_EQ(Booklet(8, false, true), "1 8 7 2 3 6 5 4");
    EXPECT_EQ(Booklet(6), "B 1 2 B 6 3 4 5");
    EXPECT_EQ(Booklet(6, true), "6 1 2 B B 3 4 5");
    EXPECT_EQ(Booklet(5), "B 1 2 B B 3 4 5");
    EXPECT_EQ(Booklet(5, true), "5 1 2 B B 3 4 B");
    EXPECT_EQ(Booklet(4, true), "4 1 2 3");
    EXPECT_EQ(Booklet(2), "B 1 2 B");
    EXPECT_EQ(Booklet(2, true), "2 1");
    EXPECT_EQ(Booklet(1), "B 1");
    EXPECT_EQ(Booklet(1, true), "1 B");
    EXPECT_EQ(Booklet(0), "");
}

TEST(Booklet, CollatedCopiesAreBookletsOneBehindTheOther)
{
    EXPECT_EQ(Show(ImposeBooklet(MakePages(24), MakeBookletPlan(3, 8))),
              "8 1 2 7 6 3 4 5 16 9 10 15 14 11 12 13 24 17 18 23 22 19 20 21");
    for (int copies = 1; copies <= 4; ++copies)
    {
        for (int perCopy = 4; perCopy * copies <= kMostPages; perCopy += 4)
        {
            const APageOffsets sides = ImposeBooklet(MakePages(perCopy * copies), MakeBookletPlan(copies, perCopy));
            EXPECT_TRUE(HoldsEachOnce(sides, perCopy * copies)) << copies << " x " << perCopy;
            EXPECT_EQ(CountOf(sides, kBlankPage), 0) << copies << " x " << perCopy;
        }
    }
}

TEST(Booklet, FoldedItReadsFromTheFirstPageToTheLast)
{
    for (int count = 3; count <= kMostPages; ++count)
    {
        APageOffsets expected = MakePages(count);
        expected.resize(static_cast<std::size_t>((count + 3) / 4 * 4), kBlankPage);
        EXPECT_EQ(ReadFolded(ImposeBooklet(MakePages(count), MakeBookletPlan(1, count))), expected) << count;
        // The last page moves to the outside, and where it stood is blank.
        std::replace(expected.begin(), expected.end(), std::int64_t{count}, kBlankPage);
        expected.back() = count;
        EXPECT_EQ(ReadFolded(ImposeBooklet(MakePages(count), MakeBookletPlan(1, count, true))), expected) << count;
    }
}

TEST(Booklet, RightToLeftExchangesTheHalvesOfEachSide)
{
    for (int count = 3; count <= kMostPages; ++count)
    {
        for (const bool backCover : {false, true})
        {
            APageOffsets sides = ImposeBooklet(MakePages(count), MakeBookletPlan(1, count, backCover));
            for (std::size_t i = 0; i + 1 < sides.size(); i += 2)
            {
                std::swap(sides[i], sides[i + 1]);
            }
            EXPECT_EQ(ImposeBooklet(MakePages(count), MakeBookletPlan(1, count, backCover, true)), sides) << count;
        }
    }
}

TEST(ManualDuplex, SplitsAsTheExamplesDo)
{
    AManualDuplexPlan plan;
    EXPECT_EQ(Show(SplitIntoPasses(MakePages(2), plan)), "2 1");
    plan.fPrintGuide = true;
    EXPECT_EQ(Show(SplitIntoPasses(MakePages(6), plan)), "G 6 4 2 1 3 5 G");
    plan.fPrintOnBottom = true;
    EXPECT_EQ(Show(SplitIntoPasses(MakePages(6), plan)), "G 2 4 6 G 1 3 5");
    plan.fFaceDown = false;
    EXPECT_EQ(Show(SplitIntoPasses(MakePages(6), plan)), "2 4 6 G G 5 3 1");
    plan.fPrintOnBottom = false;
    EXPECT_EQ(Show(SplitIntoPasses(MakePages(6), plan)), "6 4 2 G 5 3 1 G");
    plan.fReverse = true;
    EXPECT_EQ(Show(SplitIntoPasses(MakePages(6), plan)), "1 3 5 G 2 4 6 G");
    plan.fFaceDown = true;
    EXPECT_EQ(Show(SplitIntoPasses(MakePages(6), plan)), "G 1 3 5 6 4 2 G");
    plan.fPrintOnBottom = true;
    EXPECT_EQ(Show(SplitIntoPasses(MakePages(6), plan)), "G 5 3 1 G 6 4 2");
}

TEST(ManualDuplex, BookletSidesStayWhole)
{
    AManualDuplexPlan plan;
    plan.fBooklet = true;
    EXPECT_EQ(Show(SplitIntoPasses(MakePages(8), plan)), "7 8 3 4 1 2 5 6");
    plan.fPrintOnBottom = true;
    EXPECT_EQ(Show(SplitIntoPasses(MakePages(8), plan)), "3 4 7 8 1 2 5 6");
    plan.fFaceDown = false;
    EXPECT_EQ(Show(SplitIntoPasses(MakePages(8), plan)), "3 4 7 8 5 6 1 2");
}

TEST(ManualDuplex, EachSheetGetsBothItsSidesAndEachPassOneParity)
{
    for (unsigned flags = 0; flags < kPassPlans; ++flags)
    {
        const AManualDuplexPlan plan = MakePassPlan(flags);
        const int sheet = plan.fBooklet ? 4 : 2;
        for (int count = sheet; count <= kMostPages; count += sheet)
        {
            const APageOffsets passes = SplitIntoPasses(MakePages(count), plan);
            const APageOffsets sides = WithoutGuides(passes);
            ASSERT_TRUE(HoldsEachOnce(passes, count)) << flags << ", " << count;
            ASSERT_EQ(CountOf(passes, kGuidePage), plan.fPrintGuide ? 2 : 0) << flags << ", " << count;
            for (int i = 0; i < count; ++i)
            {
                const bool isFront = (sides[static_cast<std::size_t>(i)] - 1) % sheet < sheet / 2;
                EXPECT_EQ(isFront, (i < count / 2) == plan.fReverse) << flags << ", " << count;
            }
        }
    }
}

TEST(Reverse, TurnsTheListRoundOnce)
{
    EXPECT_EQ(Show(ReversePages(MakePages(5), {})), "5 4 3 2 1");
    AReversePlan plan;
    plan.fPadToSheets = true;
    EXPECT_EQ(Show(ReversePages(MakePages(5), plan)), "B 5 4 3 2 1");
    EXPECT_EQ(Show(ReversePages(MakePages(4), plan)), "4 3 2 1");
    plan.fIsReversedAlready = true;
    EXPECT_EQ(Show(ReversePages(MakePages(5), plan)), "1 2 3 4 5 B");
}

TEST(Reverse, FaceUpTheLastSheetComesFirstAndEachWithItsFrontFirst)
{
    AReversePlan plan;
    plan.fDuplexFaceUp = true;
    EXPECT_EQ(Show(ReversePages(MakePages(5), plan)), "5 B 3 4 1 2");
    for (int count = 2; count <= kMostPages; ++count)
    {
        const APageOffsets list = ReversePages(MakePages(count), plan);
        ASSERT_EQ(list.size(), static_cast<std::size_t>((count + 1) / 2 * 2));
        for (std::size_t i = 0; i < list.size(); i += 2)
        {
            EXPECT_EQ(list[i], static_cast<std::int64_t>(list.size() - 1 - i)) << count;
            EXPECT_EQ(list[i + 1], list[i] == count ? kBlankPage : list[i] + 1) << count;
        }
    }
}

TEST(Reverse, FaceUpBookletSheetsStayWhole)
{
    AReversePlan plan;
    plan.fDuplexFaceUp = true;
    plan.fBooklet = true;
    EXPECT_EQ(Show(ReversePages(MakePages(8), plan)), "5 6 7 8 1 2 3 4");
}
