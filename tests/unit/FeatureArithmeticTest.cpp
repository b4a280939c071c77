// The numbers that features write, and the parts that they take options apart into.

#include <array>
#include <cstdio>

#include <gtest/gtest.h>

#include "Imaging/NumberText.h"
#include "Processors/BookletProcessor.h"
#include "Processors/CustomPageSizeProcessor.h"
#include "Processors/ManualDuplexProcessor.h"
#include "Processors/TBCPProcessor.h"

namespace
{

const APageSizeRecord kA4 = {"A4", 595, 842, 12, 12, 583, 829.4F};
const APageSizeRecord kTabloid = {"Tabloid", 792, 1224, 18, 36, 774, 1188};

} // namespace

TEST(WriteFixed, RoundsAsPrintfAndShowsNoSignOfZero)
{
    for (const double value : {0.05, 0.25, 0.35, 2.5, -0.06, 1e9 + 0.05, -1234.5678, 3e38})
    {
        std::array<char, 400> expected{};
        std::snprintf(expected.data(), expected.size(), "%.1f", value);
        EXPECT_EQ(WriteFixed(value, 1), expected.data());
    }
    EXPECT_EQ(WriteFixed(-0.0, 1), "0.0");
    EXPECT_EQ(WriteFixed(-0.04, 1), "0.0");
    EXPECT_EQ(WriteFixed(-0.0004, 3), "0.000");
    EXPECT_EQ(WriteFixed(-0.04, 2), "-0.04");
}

TEST(BookletLayout, MovesTheSecondPageToTheFarEdge)
{
    const ABookletLayout layout = LayOutBooklet(kTabloid, kA4, false);
    EXPECT_FLOAT_EQ(layout.fScaleX, 756.0F / 842);
    EXPECT_EQ(WriteFixed(static_cast<double>(layout.fHalfY), 1), "0.0");
    EXPECT_FLOAT_EQ(layout.fSecondHalfX, 1152 - 595 * layout.fScaleX);
}

TEST(FeedEdge, PrefersTheLongEdgeForPaperThatIsShortEnough)
{
    const APageSizeRecord landscape = {"A4R", 842, 595, 0, 0, 842, 595};
    EXPECT_EQ(ResolveFeedEdge(AFeedEdge::kPreferLong, kA4, 842), AFeedEdge::kLong);
    EXPECT_EQ(ResolveFeedEdge(AFeedEdge::kPreferLong, kA4, 841.9), AFeedEdge::kShort);
    EXPECT_EQ(ResolveFeedEdge(AFeedEdge::kPreferLong, landscape, 842), AFeedEdge::kShort);
    EXPECT_EQ(ResolveFeedEdge(AFeedEdge::kForced, kA4, 842), AFeedEdge::kShort);
    EXPECT_EQ(ResolveFeedEdge(AFeedEdge::kEitherLeftUp, kA4, 842), AFeedEdge::kEitherLeftUp);
}

TEST(CustomSize, TakesTheOptionApart)
{
    const auto size = ACustomSize::Read("Custom.1000.12345x2000.5");
    ASSERT_TRUE(size);
    EXPECT_EQ(size->fWidth, 1000.12345);
    EXPECT_EQ(size->fHeight, 2000.5);
    EXPECT_EQ(size->fMediaSize, "1000.12345 2000.5");
    EXPECT_EQ(size->fIntegerSize, "1000 2000");
    EXPECT_EQ(size->fPageSizeCall, "1000.123 2000.5 1 0 0");
}

TEST(CustomSize, IsNoneForAnotherPaper)
{
    for (const char* media : {"", "A4", "Custom", "Custom.", "Custom.612", "Custom.x792", "Custom.612x", "x,Custom.6",
                              "CustomWx7", "Custom.612.00x792.00", "Custom.612.00x792.00,Tray2"})
    {
        EXPECT_FALSE(ACustomSize::Read(media)) << media;
    }
}

TEST(TBCP, EveryTagGoesAndWhatFollowsANulStays)
{
    using std::string_literals::operator""s;
    EXPECT_EQ(RemoveTBCPBeginTagFromPSLine("\x01M%!PS\x01M\x01\x01MM\n\0rest\n"s), "%!PS\x01M\n\0rest\n"s);
}
