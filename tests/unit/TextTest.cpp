#include "Imaging/NumberText.h"
#include "Imaging/OptionCoding.h"
#include "Imaging/PostScriptText.h"
#include "Imaging/TextComparison.h"
#include "Imaging/TextEncoding.h"

#include <climits>
#include <gmock/gmock.h>
#include <map>
#include <tuple>

using namespace std::string_view_literals;
using testing::Each;
using testing::FieldsAre;
using testing::Optional;
using testing::ResultOf;

TEST(PostScriptText, EscapesWhatEndsOrBreaksAString)
{
    EXPECT_EQ(R"(a\(b\)c\\)", PSF::CreateFormatedString(R"(a(b)c\)"));
    EXPECT_EQ(R"(\000\011\012\037 \177)", PSF::CreateFormatedString("\0\t\n\x1F \x7F"sv));
    EXPECT_EQ("\x80\xFF\xC3\xA4", PSF::CreateFormatedString("\x80\xFF\xC3\xA4"));
}

TEST(PostScriptText, FeatureNamesStayOnTheirLine)
{
    EXPECT_EQ("InputSlot Tray1", PSF::CreateStandardFeatureName("InputSlot", "Tray1"));
    EXPECT_EQ("InputSlot", PSF::CreateStandardFeatureName("InputSlot", ""));
    EXPECT_EQ("K a  %%EOF \xC3\xA4", PSF::CreateStandardFeatureName("K", "a\r\n%%EOF\x7F\xC3\xA4"));
}

TEST(PostScriptText, ReadsPageComments)
{
    const std::tuple<std::string_view, std::string_view, int> pages[] = {
        {"%%Page:iv\t4\r\n", "iv", 4},
        {"%%Page: \t (a b) \t 12", "(a b)", 12},
        {R"(%%Page: (a\)b(c) d) 7)", R"((a\)b(c) d))", 7},
        {"%%Page: () 3", "()", 3},
        {"%%Page: a(b 3", "a(b", 3},
        {"  text %%Page: 1 5abc", "1", 5},
        {"%%Page: 0 0", "0", 0},
        {"%%Page: 1 2147483647", "1", INT_MAX},
        {"%%Page: 1 00000000000000000007", "1", 7},
        {"%%Page: 1 12\0 34"sv, "1", 12},
        {"%%Page: \xC3\xA4 2", "\xC3\xA4", 2},
    };
    for (const auto& [line, label, ordinal] : pages)
    {
        EXPECT_THAT(PSF::GetPageInfoFromPSPageInvocation(line), Optional(FieldsAre(label, ordinal))) << line;
    }
    EXPECT_THAT((std::vector{""sv, "%%Page:"sv, "%%Page: 1 \n"sv, "%%Page: ? ?"sv, "%%Pages: 4"sv, "%%Page: (atend)"sv,
                             "%%Page: 1 -1"sv, "%%Page: 1 +1"sv, "%%Page: 1 2147483648"sv, "%%Page: (a 1 2"sv,
                             "%%Page: (a\\) 1"sv, "%%Page: (a)1"sv, "%%Page: (a)b 1"sv, "%%Pa\0ge: 1 1"sv,
                             "%%Page:\0 1 1"sv, "%%Page: (a\\"sv}),
                Each(ResultOf(PSF::GetPageInfoFromPSPageInvocation, testing::Eq(std::nullopt))));
}

TEST(TextEncoding, KnowsWellFormedUTF8)
{
    EXPECT_THAT((std::vector{""sv, "a\0b"sv, "\x7F"sv, "\xC2\x80"sv, "\xE0\xA0\x80"sv, "\xED\x9F\xBF"sv,
                             "\xEF\xBF\xBF"sv, "\xF0\x90\x80\x80"sv, "\xF4\x8F\xBF\xBF"sv}),
                Each(ResultOf(IsValidUTF8, true)));
    EXPECT_THAT((std::vector{"\x80"sv, "\xC3"sv, "\xC0\x80"sv, "\xC1\xBF"sv, "\xE0\x9F\xBF"sv, "\xED\xA0\x80"sv,
                             "\xF0\x8F\xBF\xBF"sv, "\xF4\x90\x80\x80"sv, "\xF8\x88\x80\x80\x80"sv, "\xFF"sv,
                             "\xE2\x82"sv, "\xC3\x28"sv, "a\xE2\x82z"sv}),
                Each(ResultOf(IsValidUTF8, false)));
}

TEST(TextEncoding, ConvertsAsAWholeOrNotAtAll)
{
    EXPECT_EQ("\xC3\xA4", ReadAsUTF8("\xC3\xA4"));
    EXPECT_EQ("\xC3\x83\xC2\xA4 \xC3\xBF", ReadAsUTF8("\xC3\xA4 \xFF"));
    EXPECT_EQ("", ConvertText("a\xC4\x80", TextEncoding::kISOLatin1, 256)); // U+0100
    EXPECT_EQ("", ConvertText("ok\xFF", TextEncoding::kUTF8, 256));
    EXPECT_EQ("abc", ConvertText("abc", TextEncoding::kUTF8, 4));
    EXPECT_EQ("", ConvertText("abc", TextEncoding::kUTF8, 3));
    EXPECT_EQ("\xE4\xE4", ConvertText("\xC3\xA4\xC3\xA4", TextEncoding::kISOLatin1, 3));
    EXPECT_EQ("", ConvertText("", TextEncoding::kUTF8, 0));
}

TEST(StringValidator, CorrectsOnlyWhatIsWrong)
{
    using AStringValidator::CreateCorrectedValue;
    EXPECT_FALSE(CreateCorrectedValue(""));
    EXPECT_FALSE(CreateCorrectedValue("plain (\\) \xC3\xA4\xC2\xA0\xEF\xBF\xBD"));
    EXPECT_EQ("a b  c ", CreateCorrectedValue("a\tb\r\nc\x7F"));
    EXPECT_EQ(" ", CreateCorrectedValue("\0"sv));
    EXPECT_EQ("a z", CreateCorrectedValue("a\xC2\x85z"));
    EXPECT_EQ("\xEF\xBF\xBD\xEF\xBF\xBDz", CreateCorrectedValue("\xE2\x82z"));
    EXPECT_EQ("\xC3\xA4\xEF\xBF\xBD", CreateCorrectedValue("\xC3\xA4\xE4"));
}

TEST(OptionCoding, DecodesPercentCodesOnly)
{
    EXPECT_EQ("plain+text a b", CreateDecodedCString("plain+text a%20b"));
    EXPECT_EQ("\xC3\xA4 %41 %zzA", CreateDecodedCString("%c3%A4 %2541 %zz%41"));
    EXPECT_EQ("%-1%+1% 1%0x %A %4", CreateDecodedCString("%-1%+1% 1%0x %%41 %4"));
    EXPECT_EQ("100%", CreateDecodedCString("100%"));
    EXPECT_EQ("a", CreateDecodedCString("a%00b"));
    EXPECT_EQ("a", CreateDecodedCString("a\0b"sv));
}

TEST(NumberText, ReadsWhatATextBeginsWith)
{
    const std::map<std::string, int> integers = {{"", 0},     {" \t-7x", -7}, {"+5", 5}, {"+-5", 0},
                                                 {"0x10", 0}, {"1.9", 1},     {"-", 0},  {"x1", 0}};
    for (const auto& [text, value] : integers)
    {
        EXPECT_EQ(value, ReadLeadingInteger(text)) << text;
    }
    EXPECT_EQ(LLONG_MAX, ReadLeadingInteger("99999999999999999999"));
    EXPECT_EQ(LLONG_MIN, ReadLeadingInteger("-99999999999999999999"));
    const std::map<std::string, double> numbers = {{"", 0},      {"2.5mm", 2.5}, {" +.5", 0.5}, {"-1e2", -100},
                                                   {"1e999", 0}, {"inf", 0},     {"-nan", 0},   {"0x10", 0},
                                                   {"1,5", 1},   {"+-1", 0},     {".", 0},      {"612.00", 612}};
    for (const auto& [text, value] : numbers)
    {
        EXPECT_EQ(value, ReadLeadingNumber(text)) << text;
    }
}

TEST(TextComparison, FoldsLettersOnly)
{
    EXPECT_TRUE(EqualWithoutCase("TrUe", "tRuE"));
    EXPECT_FALSE(EqualWithoutCase("True", "Tru"));
    EXPECT_FALSE(EqualWithoutCase("[\xC3\x84", "{\xC3\xA4"));
    EXPECT_FALSE(StartsWithWithoutCase("two", "two-"));
    EXPECT_TRUE(ContainsWithoutCase("(VELDRA 5)", "Veldra"));
    EXPECT_FALSE(ContainsWithoutCase("Veldr", "Veldra"));
}
