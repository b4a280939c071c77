// Custom page sizes, custom media types, margins.

#include <gtest/gtest.h>

#include "TestSupport.h"

namespace
{

constexpr const char* kMargins =
    "*OpenUI *VXMarginsLayoutMode: PickOne\n*DefaultVXMarginsLayoutMode: Standard\n"
    "*VXMarginsLayoutMode Standard: \"standard\"\n*VXMarginsLayoutMode Oversize: \"oversize\"\n"
    "*CloseUI: *VXMarginsLayoutMode\n*ImageableArea Full: \"0 0 500 500\"\n*PaperDimension Full: \"500 500\"\n";
constexpr const char* kCustom = "*VariablePaperSize: True\n*MaxMediaWidth: \"1000.5\"\n*MaxMediaHeight: \"3000\"\n"
                                "*CustomPageSize True: \"pop pop pop <</PageSize[5 -2 roll]>>setpagedevice\"\n"
                                "*ParamCustomPageSize Width: 1 points 100 1000.5\n"
                                "*ParamCustomPageSize Height: 2 points 100 3000\n";
constexpr const char* kOld = "PPDVersion=1.0 Product=Big\\ 7100VQ\\ II";

std::string MarginsFor(const std::string& inOptions)
{
    return SetupOf(inOptions, kMargins, "%%BeginFeature: *VXMarginsLayoutMode Mine\nold\n%%EndFeature\n");
}

std::string Margins(const std::string& inMode, const std::string& inCode)
{
    return "%%BeginFeature: *VXMarginsLayoutMode " + inMode + "\n" + inCode + "\n%%EndFeature\n";
}

} // namespace

TEST(CustomPageSize, AnOldPrinterGetsItsCallOnceAfterTheLineWithTheSize)
{
    const std::string setup = "%%BoundingBox: 0 0 612 700\n612 700 gS\n%%BeginFeature: *PageSize Custom\n612 700 a\n"
                              "%%EndFeature\n612 700 b\n612.5 700 c\n";
    EXPECT_EQ(SetupOf(std::string("media=Custom.612.5x700 ") + kOld, kCustom, setup),
              "%%BoundingBox: 0 0 612 700\n612 700 gS\n%%BeginFeature: *PageSize Custom\n612 700 a\n"
              "612.5 700 1 0 0\n%%EndFeature\n612 700 b\n612.5 700 c\n");
    EXPECT_EQ(SetupOf(std::string("media=Custom.612x700 ") + kOld, kCustom, "/PageSize[612 700]\n"),
              "/PageSize[612 700]\n612 700 1 0 0\n");
}

TEST(CustomPageSize, AnotherPrinterAndLetterGetNone)
{
    const std::string setup = "/PageSize[612 700]\n612.00 792.00\n";
    for (const char* options :
         {"media=Custom.612x700", "media=Custom.612x700 PPDVersion=1.0", "media=Custom.612x700 Product=7300vq",
          "media=Custom.612x700 PPDVersion=1 Product=900vq", "media=Custom.612.00x792.00 PPDVersion=1.0 Product=900vq"})
    {
        EXPECT_EQ(SetupOf(options, kCustom, setup), setup) << options;
    }
}

TEST(CustomPageSize, TellsWhenTheSizeIsOutOfThePrintersLimits)
{
    const auto isToldFor = [](const std::string& inSize)
    {
        return RunFilter({.fOptions = "media=Custom." + inSize, .fJob = "", .fPPD = MakePPD(kCustom)})
            .IsLogged("Custom page: bounds are invalid!");
    };
    EXPECT_FALSE(isToldFor("1000.5x3000"));
    EXPECT_TRUE(isToldFor("1000.6x3000"));
    EXPECT_TRUE(isToldFor("500x99"));
}

TEST(CustomMediaType, ReplacesTheJobsMediaType)
{
    const std::string mention = "% MediaType\n";
    const std::string feature = "%%BeginFeature: *MediaType Plain\nold\n%%EndFeature\n";
    const std::string code = "*VXCustomMediaTypePSCode: \"media %d (%s) %n\"\n";
    EXPECT_EQ(SetupOf("VXCustomMediaTypeID=12 VXCustomMediaTypeName=My%20Card", code, mention + feature),
              mention + "%%BeginFeature: *MediaType CustomMy%20Card\nmedia 12 (%s) %n\n%%EndFeature\n");
    EXPECT_EQ(SetupOf("VXCustomMediaTypeID=12", code, feature),
              "%%BeginFeature: *MediaType Custom\nmedia 12 (%s) %n\n%%EndFeature\n");
    EXPECT_EQ(SetupOf("VXCustomMediaTypeID=12", "", feature), feature);
}

TEST(MarginLayout, FollowsThePaper)
{
    const std::string own = "%%BeginFeature: *VXMarginsLayoutMode Mine\nold\n%%EndFeature\n";
    EXPECT_EQ(MarginsFor("VXMarginsLayoutMode=Oversize"), own);
    EXPECT_EQ(MarginsFor("media=A4"), Margins("Standard", "standard"));
    EXPECT_EQ(MarginsFor("media=A4 VXMarginsLayoutMode=standard"), own);
    EXPECT_EQ(MarginsFor("media=A4 VXMarginsLayoutMode=Oversize"), Margins("Standard", "standard"));
    EXPECT_EQ(MarginsFor("media=Full"), Margins("Oversize", "oversize"));
    EXPECT_EQ(MarginsFor("media=Full VXMarginsLayoutMode=Standard"), Margins("Oversize", "oversize"));
    EXPECT_EQ(MarginsFor("media=Full VXMarginsLayoutMode=Oversize"), own);
    EXPECT_EQ(MarginsFor("media=Custom.500x500"), Margins("Oversize", "oversize"));
    EXPECT_EQ(MarginsFor("media=Custom.500x500 VXMarginsLayoutMode=Mine"), own);
}

TEST(MarginLayout, WithoutCodeTheJobsOwnModeStillGoes)
{
    EXPECT_EQ(SetupOf("media=Unknown", "*VXMarginsLayoutMode: \"yes\"\n",
                      "%%BeginFeature: *VXMarginsLayoutMode Oversize\nold\n%%EndFeature\n"),
              "");
}
