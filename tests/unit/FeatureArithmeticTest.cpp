// The numbers that features write, and the parts that they take options apart into.

#include <array>
#include <cmath>
#include <cstdio>
#include <gmock/gmock.h>
#include <limits>
#include <random>
#include <vector>

#include "ForeignLocale.h"
#include "Imaging/NumberText.h"
#include "Processors/BookletProcessor.h"
#include "Processors/CustomPageSizeProcessor.h"
#include "Processors/ManualDuplexProcessor.h"
#include "Processors/TBCPProcessor.h"

namespace
{

const APageSizeRecord kA4 = {"A4", 595, 842, 12, 12, 583, 829.4F};
const APageSizeRecord kTabloid = {"Tabloid", 792, 1224, 18, 36, 774, 1188};

std::string Print(int inDigits, double inNumber)
{
    std::array<char, 400> text{};
    std::snprintf(text.data(), text.size(), "%.*f", inDigits, inNumber);
    return text.data();
}

} // namespace

TEST(NumberText, IsThatOfPrintfInAnyLocale)
{
    std::vector<double> numbers = {0.0,   -0.0,       0.5e-6,    16777216, std::numeric_limits<float>::max(),
                                   0.05,  0.25,       0.35,      0.45,     2.5,
                                   -0.06, 1e9 + 0.05, -1234.5678};
    std::mt19937 random(1); // NOLINT(cert-msc51-cpp): the same numbers in every run
    std::uniform_real_distribution<float> mantissa(-1, 1);
    for (int exponent = -24; exponent < 40; ++exponent)
    {
        numbers.push_back(std::ldexp(mantissa(random), exponent));
    }
    std::string expected;
    for (const double number : numbers)
    {
        const std::string fixed = Print(1, number);
        expected += Print(6, static_cast<float>(number)) + (fixed == "-0.0" ? "0.0" : fixed) + '\n';
    }
    const AForeignLocale locale;
    std::string written;
    for (const double number : numbers)
    {
        AppendNumber(written, static_cast<float>(number));
        written += WriteFixed(number, 1) + '\n';
    }
    EXPECT_EQ(written, expected);
    EXPECT_EQ(WriteFixed(-0.0004, 3), "0.000") << "no sign of zero";
    EXPECT_EQ(WriteFixed(-0.04, 2), "-0.04");
}

TEST(BookletLayout, MovesTheSecondPageToTheFarEdge)
{
    EXPECT_FLOAT_EQ(LayOutBooklet(kTabloid, kA4, false).fSecondHalfX, 1152 - 595 * 756.0F / 842);
}

TEST(FeedEdge, PrefersTheLongEdgeForPaperThatIsShortEnough)
{
    using enum AFeedEdge;
    EXPECT_EQ(ResolveFeedEdge(kPreferLong, kA4, 842), kLong);
    EXPECT_EQ(ResolveFeedEdge(kPreferLong, kA4, 841.9), kShort);
    EXPECT_EQ(ResolveFeedEdge(kPreferLong, {"A4R", 842, 595, 0, 0, 842, 595}, 842), kShort);
    EXPECT_EQ(ResolveFeedEdge(kForced, kA4, 842), kShort);
}

TEST(CustomSize, TakesTheOptionApart)
{
    using namespace testing;
    const auto size = ACustomSize::Read("Custom.1000.12345x2000.5");
    ASSERT_TRUE(size);
    EXPECT_EQ(size->fWidth, 1000.12345);
    EXPECT_EQ(size->fHeight, 2000.5);
    EXPECT_EQ(size->fMediaSize, "1000.12345 2000.5");
    EXPECT_EQ(size->fIntegerSize, "1000 2000");
    EXPECT_EQ(size->fPageSizeCall, "1000.123 2000.5 1 0 0");
    EXPECT_THAT((std::vector{"", "A4", "Custom", "Custom.", "Custom.612", "Custom.x792", "Custom.612x", "x,Custom.6",
                             "CustomWx7", "Custom.612.00x792.00", "Custom.612.00x792.00,Tray2"}),
                Each(ResultOf(ACustomSize::Read, Not(Optional(testing::_)))));
}

TEST(TBCP, EveryTagGoesAndWhatFollowsANulStays)
{
    using std::string_literals::operator""s;
    EXPECT_EQ(RemoveTBCPBeginTagFromPSLine("\x01M%!PS\x01M\x01\x01MM\n\0rest\n"s), "%!PS\x01M\n\0rest\n"s);
}
