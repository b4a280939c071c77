#include "Imaging/PPDInfo.h"
#include "ForeignLocale.h"
#include "Imaging/PPDKeywords.h"
#include "Imaging/PrintfTemplate.h"
#include "TemporaryFolder.h"

#include <climits>
#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::Optional;

namespace
{

constexpr std::string_view kHead = R"PPD(*PPD-Adobe: "4.3"
*FormatVersion: "4.3"
*FileVersion: "1.0"
*LanguageVersion: English
*LanguageEncoding: ISOLatin1
*PCFileName: "TEST.PPD"
*Product: "(First)"
*Product: "(Second)"
*Manufacturer: "ACME"
*ModelName: "ACME T"
*ShortNickName: "ACME T"
*NickName: "ACME T"
*PSVersion: "(3010.000) 0"
)PPD";

constexpr std::string_view kSizes = R"(*OpenUI *PageSize/Page Size: PickOne
*OrderDependency: 10 AnySetup *PageSize
*DefaultPageSize: A4
*PageSize Letter/Letter: "<</PageSize [612 792]>> setpagedevice"
*PageSize A4Big/Tolerance: "a4big"
*PageSize A4/A4: "<</PageSize [595 842]>> setpagedevice"
*PageSize Wide/Wide: ""
*CloseUI: *PageSize
*DefaultImageableArea: A4
*ImageableArea A4/A4: "10 11 585 830"
*ImageableArea A4Big/T: "0 0 598 844"
*ImageableArea Letter/Letter: "0 0 612 792"
*DefaultPaperDimension: A4
*PaperDimension Letter/Letter: "612 792"
*PaperDimension A4Big/Tolerance: "598 844"
*PaperDimension A4/A4: "595 842"
*PaperDimension Wide/Wide: "1200 300"
)";

constexpr std::string_view kCustomSizes = R"(*VariablePaperSize: True
*HWMargins: 1 2 3 4
*CustomPageSize True: "pop pop pop <</PageSize[5 -2 roll]/ImagingBBox null>>setpagedevice"
*ParamCustomPageSize Width: 1 points 36 842
*ParamCustomPageSize Height: 2 points 40 1191.5
*ParamCustomPageSize WidthOffset: 3 points 0 0
*ParamCustomPageSize HeightOffset: 4 points 0 0
*ParamCustomPageSize Orientation: 5 int 0 0
)";

/// Opens what a PPD says whose text is the usual head and then inText.
class PPDTest : public testing::Test
{
protected:
    /// A file of its own: what is open of one name is shared.
    [[nodiscard]] std::string Write(std::string_view inText)
    {
        return fFolder.Write(std::to_string(++fFiles) + ".ppd", std::string(kHead).append(inText));
    }
    [[nodiscard]] std::shared_ptr<const APPDFile> OpenFile(std::string_view inText)
    {
        return APPDFile::Open(Write(inText).c_str());
    }
    [[nodiscard]] std::unique_ptr<APPDInfo> OpenInfo(std::string_view inText)
    {
        return APPDInfo::CreatePPDInfo(Write(inText).c_str());
    }

    ATemporaryFolder fFolder;
    int fFiles = 0;
};

std::string Describe(const std::optional<APageSizeRecord>& inSize)
{
    return !inSize ? "none"
                   : FormatTemplate("%s %.1f %.1f %.1f %.1f %.1f %.1f",
                                    {inSize->fName, inSize->fWidth, inSize->fLength, inSize->fLeft, inSize->fBottom,
                                     inSize->fRight, inSize->fTop});
}

TEST_F(PPDTest, WhatIsNoDescriptionOpensAsNull)
{
    EXPECT_EQ(nullptr, APPDFile::Open(nullptr));
    EXPECT_EQ(nullptr, APPDFile::Open(""));
    EXPECT_EQ(nullptr, APPDFile::Open(fFolder.GetPath("missing.ppd").c_str()));
    EXPECT_EQ(nullptr, APPDFile::Open(fFolder.GetPath().c_str()));
    for (const std::string& text :
         {std::string(), std::string("*PPD-Adobe"), std::string("\0\0\0", 3), std::string(100000, 'x')})
    {
        EXPECT_EQ(nullptr, APPDFile::Open(fFolder.Write("broken.ppd", text).c_str())) << text.substr(0, 40);
    }
}

TEST_F(PPDTest, ValuesAreReadAsLibcupsReadsThem)
{
    const auto info = OpenInfo(R"(*VXBare:   some text  
*VXEmpty: ""
*VXHex: "a<0A>b"
*VXLines: "one
two"
*End
*DefaultVXFace: FaceUp
*VXFirst: ""
*VXFirst: "second"
*JCLOpenUI *JCLRes: PickOne
*DefaultJCLRes: x
*JCLRes x/X: "@PJL SET<0A>"
*JCLCloseUI: *JCLRes
)");
    const std::vector<std::pair<const char*, const char*>> values = {
        {"VXBare", "some text"}, {"vxbare", "some text"}, {"VXHex", "a<0A>b"},  {"VXLines", "one\ntwo"},
        {"VXEmpty", "none"},     {"VXFirst", "none"},     {"VXMissing", "none"}};
    for (const auto& [keyword, value] : values)
    {
        EXPECT_EQ(info->GetValue(keyword).value_or("none"), value) << keyword;
    }
    EXPECT_THAT(info->GetInvocationCode("JCLRes", "x"), Optional(std::string("@PJL SET\n")));
    EXPECT_TRUE(info->IsFeatureSupported("VXEmpty"));
    EXPECT_FALSE(info->IsFeatureSupported("VXMissing"));
    EXPECT_FALSE(info->IsFeatureSupported(""));
    EXPECT_THAT(info->GetDefaultValue("VXFace"), Optional(std::string("FaceUp")));
    EXPECT_THAT(info->GetDefaultValue("DefaultVXFace"), Optional(std::string("FaceUp")));
    EXPECT_THAT(info->GetDefaultValue("JCLRes"), Optional(std::string("x")));
}

TEST_F(PPDTest, InvocationCodesComeFromOptionsThenAttributes)
{
    const auto info = OpenInfo(R"PPD(*OpenUI *Slot: PickOne
*DefaultSlot: Tray1
*Slot Tray1/Upper tray: "<</X (%%s)>> setpagedevice"
*Slot Tray2/Lower: ""
*CloseUI: *Slot
*VXControlPSCode VXZone1Limit/Text: "%d zone"
*VXControlPSCode VXEmptyCode: ""
*MirrorPrint True/Mirror: "mirror"
*MirrorPrint: "no spec"
)PPD");
    const std::vector<std::array<const char*, 3>> codes = {{"Slot", "tray1", "<</X (%%s)>> setpagedevice"},
                                                           {"Slot", "Tray2", "none"},
                                                           {"Slot", "Tray3", "none"},
                                                           {"VXControlPSCode", "VXZone1Limit", "%d zone"},
                                                           {"VXControlPSCode", "VXEmptyCode", "none"},
                                                           {"VXMissing", "VXEmptyCode", "none"},
                                                           {"MirrorPrint", "True", "mirror"}};
    for (const auto& [keyword, spec, code] : codes)
    {
        EXPECT_EQ(info->GetInvocationCode(keyword, spec).value_or("none"), code) << keyword << ' ' << spec;
    }
}

TEST_F(PPDTest, ADuplexUnitHasMoreThanTheChoiceOfNone)
{
    const std::string none = "*OpenUI *Duplex: PickOne\n*DefaultDuplex: none\n*Duplex none: \"off\"\n";
    EXPECT_FALSE(OpenInfo(none + "*CloseUI: *Duplex\n")->IsFeatureSupported(kDuplexFeature));
    const auto both = OpenInfo(none + "*Duplex DuplexTumble: \"on\"\n*CloseUI: *Duplex\n*VXStraightPaperPath: True\n");
    EXPECT_TRUE(both->IsFeatureSupported(kDuplexFeature));
    EXPECT_TRUE(both->IsFeatureSupported(kStraightPaperPathFeature));
    EXPECT_FALSE(both->IsFeatureSupported(kDuplexFeature | kStraightPaperPathFeature)) << "one number, one feature";
}

TEST_F(PPDTest, NumericValues)
{
    const auto info = OpenInfo("*VXNum spec: \"5\"\n*VXNum: 12\n*VXNegative: \"-7 points\"\n*VXText: \"none\"\n"
                               "*VXEmpty: \"\"\n*VXHuge: \"99999999999\"\n*VXSpecOnly a: \"3\"\n");
    const std::vector<std::pair<const char*, int>> values = {{"VXNum", 12},    {"VXNegative", -7},  {"VXText", 0},
                                                             {"VXEmpty", -1},  {"VXHuge", INT_MAX}, {"VXSpecOnly", -1},
                                                             {"VXMissing", -1}};
    for (const auto& [keyword, value] : values)
    {
        EXPECT_EQ(info->GetNumericValue(keyword), value) << keyword;
    }
}

TEST_F(PPDTest, TheFamilyIsReadFromAnyOfTheNames)
{
    EXPECT_FALSE(OpenInfo("*VXName: \"Veldra\"\n")->IsVeldraPrinter());
    EXPECT_TRUE(OpenInfo("*Product: \"(VELDRA 7300)\"\n")->IsVeldraPrinter());
    std::string text(kHead);
    text.replace(text.find("ModelName: \"ACME"), 16, "ModelName: \"My veldra");
    EXPECT_TRUE(APPDInfo::CreatePPDInfo(fFolder.Write("model.ppd", text).c_str())->IsVeldraPrinter());
}

TEST_F(PPDTest, PageSizesByName)
{
    const auto file = OpenFile(std::string(kCustomSizes).append(kSizes));
    const std::string a4 = "A4 595.0 842.0 10.0 11.0 585.0 830.0";
    const std::string letter = "Letter 612.0 792.0 0.0 0.0 612.0 792.0";
    const std::string custom = "Custom 100.0 200.0 1.0 2.0 97.0 196.0";
    const std::vector<std::pair<std::string, std::string>> sizes = {
        {"A4", a4},
        {"a4", a4},
        {"A4,Tray2", a4},
        {"Tray2,,A4,Letter", a4},
        {"", "none"},
        {",", "none"},
        {"B5", "none"},
        {"Custom.100x200", custom},
        {"Custom.100x200,Tray2", custom},
        {"Tray2,Custom.100x200", custom},
        {"Custom.4x6in", "Custom 288.0 432.0 1.0 2.0 285.0 428.0"},
        {"Custom", "Custom 0.0 0.0 0.0 0.0 0.0 0.0"}, // whatever was asked before
        {"Custom.100", "none"},
        {"Custom.1e400x3", "none"},
        {"iso_a4_210x297mm", a4}, // A4Big is near enough too
        {"na_letter_8.5x11in", letter},
        {"tray-2,na_letter_8.5x11in", letter},
        {"custom_x_598x844mm", "none"},
        {"custom_tiny_1x1mm", "none"}, // not the empty record of custom sizes
        {"oe_near_211.5x298.5mm", "A4Big 598.0 844.0 0.0 0.0 598.0 844.0"},
        {"oe_edge_8.5694x11in", letter}, // 617.0 points
        {"oe_beyond_8.57x11in", "none"}, // 617.04 points
        {"letter_8.5x11in", "none"},
        {"na_letter_8.5x11", "none"},
        {"na_letter_8.5x11inch", "none"},
        {"na_letter_-8.5x11in", "none"},
        {"na_letter_infx11in", "none"},
        {"na_letter_8.5,11in", "none"},
        {"na_letter_", "none"},
    };
    for (const auto& [name, record] : sizes)
    {
        EXPECT_EQ(record, Describe(file->FindPageSize(name))) << name;
    }
    const auto fixed = OpenFile(kSizes);
    EXPECT_EQ("none", Describe(fixed->FindPageSize("Custom.100x200"))) << "no custom sizes";
}

TEST_F(PPDTest, PageSizeFacts)
{
    const auto file = OpenFile(std::string(kCustomSizes).append(kSizes));
    EXPECT_THAT(file->GetDefaultPageSizeName(), Optional(std::string("A4")));
    EXPECT_THAT(file->GetPageSizeCode("letter"), Optional(std::string("<</PageSize [612 792]>> setpagedevice")));
    EXPECT_EQ(std::nullopt, file->GetPageSizeCode("Wide"));
    EXPECT_EQ(std::nullopt, file->GetPageSizeCode("B5"));
    const ACustomLimits limits = file->GetCustomLimits();
    EXPECT_THAT((std::array{limits.fMinWidth, limits.fMinHeight, limits.fMaxWidth, limits.fMaxHeight}),
                ElementsAre(36, 40, 842, 1191.5F));
    std::ignore = file->FindPageSize("Custom.9999x9999");
    EXPECT_EQ(1200, file->GetLargestPageSize().fWidth);
    EXPECT_EQ(844, file->GetLargestPageSize().fLength);
    EXPECT_EQ(0, OpenFile("")->GetLargestPageSize().fWidth);
    EXPECT_EQ(std::nullopt, OpenFile("")->GetDefaultPageSizeName());
}

TEST_F(PPDTest, NumbersHaveAPointInEveryLanguage)
{
    const AForeignLocale german;
    if (!german.IsSet())
    {
        GTEST_SKIP() << "no German locale";
    }
    const auto file = OpenFile(std::string(kCustomSizes).append(kSizes));
    EXPECT_EQ(1191.5F, file->GetCustomLimits().fMaxHeight);
    EXPECT_EQ("Custom 100.5 200.2 1.0 2.0 97.5 196.2", Describe(file->FindPageSize("Custom.100.5x200.25")));
    EXPECT_EQ(612, file->FindPageSize("na_letter_8.5x11in").value_or(APageSizeRecord()).fWidth);
}

} // namespace
