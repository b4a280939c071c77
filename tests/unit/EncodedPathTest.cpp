#include <gmock/gmock.h>

#include "Processors/EncodedPath.h"

namespace
{

constexpr APathBounds kBounds{-10, -20, 30, 40};

using enum OutlineOperator;

AOutlineStep LineTo(float inX, float inY)
{
    return {kLineTo, {{{inX, inY}}}};
}

/// Operands and operators of the glyph as written, without what every path begins and ends with.
std::string Encode(AEncodedPath& ioPath, const AGlyph& inGlyph)
{
    const std::string begin = "{ { -10.000000 -20.000000 30.000000 40.000000 0 0\n";
    const std::string end = " >\n } ustroke\n";
    EXPECT_TRUE(ioPath.Encode(inGlyph));
    const std::string text(ioPath.GetText());
    EXPECT_TRUE(text.starts_with(begin) && text.ends_with(end)) << text;
    return text.substr(begin.size(), text.size() - begin.size() - end.size());
}

std::string EncodeAlone(const AGlyph& inGlyph)
{
    AEncodedPath path(kBounds, "ustroke");
    return Encode(path, inGlyph);
}

} // namespace

TEST(EncodedPath, TurnsAnOutlineUpsideDownStepByStep)
{
    const AOutlineStep curve = {kCurveTo, {{{5, -3}, {6, -4}, {7, -5}}}};
    const AGlyph glyph = {true, 0, {{kMoveTo, {{{1, -2}}}}, LineTo(4, -2.5F), curve, LineTo(8, -5), {kClosePath, {}}}};
    EXPECT_EQ(EncodeAlone(glyph), " 1.000000 2.000000 3.000000 0.500000\n"
                                  " 1.000000 0.500000 2.000000 1.500000 3.000000 2.500000\n"
                                  " 1.000000 -0.000000\n"
                                  " }\n< 00 01\n 02 04 06 04 0A\n");
}

TEST(EncodedPath, WidensTheBoundsOfALine)
{
    EXPECT_THAT(APathBounds::Around({{}, 0, 50, 30, 10}), testing::FieldsAre(-105, -114, 155, 134));
}

TEST(EncodedPath, ClampsEachStepAgainstTheBounds)
{
    const std::pair<AOutlineStep, const char*> cases[] = {
        {LineTo(30, -40), " 30.000000 40.000000"}, {LineTo(31, 0), " 30.000000 -0.000000"},
        {LineTo(-11, 0), " -10.000000 -0.000000"}, {LineTo(0, 21), " 0.000000 -20.000000"},
        {LineTo(0, -41), " 0.000000 40.000000"},   {LineTo(99, 99), " 30.000000 -20.000000"}};
    for (const auto& [step, clamped] : cases)
    {
        EXPECT_EQ(EncodeAlone({true, 0, {step}}), std::string(clamped) + "\n }\n< 00 01\n 04");
    }
    // What comes next is relative to the point that was asked for, and a curve's points are clamped one by one.
    EXPECT_EQ(EncodeAlone({true, 0, {LineTo(50, 0), {kCurveTo, {{{60, 0}, {81, 0}, {38, 0}}}}}}),
              " 30.000000 -0.000000\n 10.000000 -0.000000 30.000000 -0.000000 -10.000000 -0.000000\n"
              " }\n< 00 01\n 04 06");
}

TEST(EncodedPath, StepsThePenBeforeEveryGlyphButTheFirst)
{
    AEncodedPath path(kBounds, "ustroke");
    EXPECT_EQ(Encode(path, {true, 12.5F, {}}), " }\n< 00 01\n");
    EXPECT_EQ(Encode(path, {true, 12.5F, {}}), " 12.500000 -0.000000 }\n< 00 01\n 02");
    // The right bound moves with the pen, the left one does not.
    EXPECT_EQ(Encode(path, {true, 5, {LineTo(6, 0), LineTo(-5, 0)}}),
              " 25.000000 -0.000000 5.000000 -0.000000\n -10.000000 -0.000000\n }\n< 00 01\n 02 04 04");
    // Exactly at the right bound is not beyond it.
    EXPECT_EQ(Encode(path, {true, 0.5F, {}}), " 30.000000 -0.000000 }\n< 00 01\n 02");
    EXPECT_FALSE(path.Encode({true, 0, {}}));
}

TEST(EncodedPath, KeepsTheRoomOfGlyphsThatAreNotDrawn)
{
    AEncodedPath path(kBounds, "ustroke");
    EXPECT_EQ(Encode(path, {true, 10, {}}), " }\n< 00 01\n");
    EXPECT_EQ(Encode(path, {false, 5, {}}), " }\n< 00 01\n");
    EXPECT_TRUE(path.Encode({true, 2, {LineTo(0, 0), {kMoveTo, {{{0, 41}}}}}}));
    EXPECT_EQ(path.GetText(), "") << "begins out of bounds";
    EXPECT_EQ(Encode(path, {true, 0, {}}), " 17.000000 -0.000000 }\n< 00 01\n 02");
}
