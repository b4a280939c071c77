// The numbers that features write, and the parts that they take options apart into.

#include <cmath>
#include <gmock/gmock.h>
#include <iomanip>
#include <limits>
#include <random>
#include <sstream>
#include <vector>

#include "ForeignLocale.h"
#include "Imaging/NumberText.h"
#include "Processors/CustomPageSizeProcessor.h"
#include "Processors/ManualDuplexProcessor.h"
#include "Processors/TBCPProcessor.h"

namespace
{

const APageSizeRecord kA4 = {"A4", 595, 842, 12, 12, 583, 829.4F};

std::string Print(int inDigits, double inNumber)
{
    std::ostringstream text;
    text << std::fixed << std::setprecision(inDigits) << inNumber;
    return text.str();
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
    const AForeignLocale locale;
    for (const double number : numbers)
    {
        std::string written;
        AppendNumber(written, static_cast<float>(number));
        EXPECT_EQ(written, Print(6, static_cast<float>(number)));
        const std::string fixed = Print(1, number);
        EXPECT_EQ(WriteFixed(number, 1), fixed == "-0.0" ? "0.0" : fixed);
    }
    EXPECT_EQ(WriteFixed(-0.0004, 3), "0.000") << "no sign of zero";
    EXPECT_EQ(WriteFixed(-0.04, 2), "-0.04");
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
    EXPECT_THAT(ACustomSize::Read("Custom.1000.12345x2000.5"),
                Optional(FieldsAre(1000.12345, 2000.5, "1000.12345 2000.5", "1000 2000", "1000.123 2000.5 1 0 0")));
    EXPECT_THAT((std::vector{"", "A4", "Custom", "Custom.", "Custom.612", "Custom.x792", "Custom.612x", "x,Custom.6",
                             "CustomWx7", "Custom.612.00x792.00", "Custom.612.00x792.00,Tray2"}),
                Each(ResultOf(ACustomSize::Read, Eq(std::nullopt))));
}

TEST(TBCP, EveryTagGoesAndWhatFollowsANulStays)
{
    using std::string_literals::operator""s;
    EXPECT_EQ(RemoveTBCPBeginTagFromPSLine("\x01M%!PS\x01M\x01\x01MM\n\0rest\n"s), "%!PS\x01M\n\0rest\n"s);
}
