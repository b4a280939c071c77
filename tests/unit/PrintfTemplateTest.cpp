#include "Imaging/PrintfTemplate.h"

#include <climits>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

TEST(PrintfTemplate, FormatsAsPrintfDoes)
{
    EXPECT_EQ(FormatTemplate("", {}), "");
    EXPECT_EQ(FormatTemplate("/HoldKey (%s) 100%%", {"1234"}), "/HoldKey (1234) 100%");
    EXPECT_EQ(FormatTemplate("%d %i %u %x %c", {7LL, -7LL, 7LL, 255LL, 65LL}), "7 -7 7 ff A");
    EXPECT_EQ(FormatTemplate("[%5d|%-5d|%05d|%+d|% d|%#x]", {1LL, 1LL, 1LL, 1LL, 1LL, 1LL}),
              "[    1|1    |00001|+1| 1|0x1]");
    EXPECT_EQ(FormatTemplate("[%.3d|%6.3d|%.0d|%.d]", {5LL, 5LL, 0LL, 0LL}), "[005|   005||]");
    EXPECT_EQ(FormatTemplate("%f %.2f %F %e %.0E %g %G", {0.5, 2.345, 1.0, 1.0, 12.0, 1e-5, 1e20}),
              "0.500000 2.35 1.000000 1.000000e+00 1E+01 1e-05 1E+20");
    EXPECT_EQ(FormatTemplate("[%5s|%-5s|%.2s|%5.1s|%.0s]", {"abc", "abc", "abc", "abc", "abc"}),
              "[  abc|abc  |ab|    a|]");
    EXPECT_EQ(FormatTemplate("[%3c|%-3c]", {65LL, 66LL}), "[  A|B  ]");
    EXPECT_EQ(FormatTemplate("%--++0008d", {5LL}), "+5      ");
    EXPECT_EQ(FormatTemplate("%'d", {1234567LL}), "1234567");
    // a conversion gets what it wants
    EXPECT_EQ(FormatTemplate("%d", {3000000000LL}), "3000000000");
    EXPECT_EQ(FormatTemplate("%u %u %lu %x", {-1LL, LLONG_MIN, -1LL, -1LL}),
              "4294967295 9223372036854775808 18446744073709551615 ffffffff");
    EXPECT_EQ(FormatTemplate("%hhd %hd %hhu %hx %lld %zd", {257LL, 65537LL, -1LL, -1LL, 5LL, 6LL}), "1 1 255 ffff 5 6");
    EXPECT_EQ(FormatTemplate("%d %d %d %d", {" 42abc", "abc", "", "-7.9"}), "42 0 0 -7");
    EXPECT_EQ(FormatTemplate("%d %d %d", {2.9, -2.9, 1e300}), "2 -2 9223372036854775807");
    EXPECT_EQ(FormatTemplate("%d", {std::numeric_limits<double>::quiet_NaN()}), "0");
    EXPECT_EQ(FormatTemplate("%.1f %.1f %.1f", {"2.5mm", "x", 3LL}), "2.5 0.0 3.0");
    EXPECT_EQ(FormatTemplate("%s %s", {-5LL, 1.5}), "-5 1.500000");
    EXPECT_EQ(FormatTemplate("%c%c|%c", {"xyz", "", 65.9}), "x|A");
    EXPECT_EQ(FormatTemplate("%s", {std::string("a\0b", 3)}), std::string("a\0b", 3));
    // what is not known is copied
    EXPECT_EQ(FormatTemplate("%n %p %*d %o %X %a %y", {7LL}), "%n %p %*d %o %X %a %y");
    EXPECT_EQ(FormatTemplate("%d %d", {1LL}), "1 %d");
    EXPECT_EQ(FormatTemplate("%-08.3lf", {}), "%-08.3lf");
    EXPECT_EQ(FormatTemplate("50% %d", {1LL}), "50% 1");
    EXPECT_EQ(FormatTemplate("%5%d", {1LL}), "%51");
    EXPECT_EQ(FormatTemplate("%l%%", {}), "%l%");
    EXPECT_EQ(FormatTemplate("end %-0.", {1LL}), "end %-0.");
    EXPECT_EQ(FormatTemplate("%%%", {1LL}), "%%");
    EXPECT_EQ(FormatTemplate(std::string("a\0%d", 4), {1LL}), std::string("a\0001", 3));
}

TEST(PrintfTemplate, BoundsWhatATemplateAsksFor)
{
    EXPECT_EQ(255U, FormatTemplate("%999999999999999999999d", {1LL}).size());
    EXPECT_EQ(257U, FormatTemplate("%.256f", {1.5}).size());
    EXPECT_EQ(255U, FormatTemplate("%.2147483648s", {std::string(1000, 'x')}).size());
    EXPECT_EQ(1000U, FormatTemplate("%s", {std::string(1000, 'x')}).size());
    const std::string largest = FormatTemplate("%+#.255f", {-std::numeric_limits<double>::max()});
    EXPECT_EQ(1U + 309U + 1U + 255U, largest.size());
    EXPECT_EQ('0', largest.back());
    EXPECT_EQ(100000U + 2U, FormatTemplate("%" + std::string(100000, '-'), {1LL}).size() + 1U);
}
