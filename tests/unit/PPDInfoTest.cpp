#include "Imaging/PPDInfo.h"
#include "ForeignLocale.h"
#include "Imaging/PPDKeywords.h"
#include "Imaging/PrintfTemplate.h"
#include "TemporaryFolder.h"

#include <climits>
#include <gmock/gmock.h>
#include <vector>

using testing::Each;
using testing::ResultOf;

namespace
{

const std::string kHead = "*PPD-Adobe: \"4.3\"\n*Product: \"(First)\"\n*NickName: \"ACME T\"\n";

const std::string kSizes = R"(*OpenUI *PageSize/Page Size: PickOne
*DefaultPageSize: A4
*PageSize Letter/Letter: "<</PageSize [612 792]>> setpagedevice"
*PageSize A4Big/Tolerance: "a4big"
*PageSize A4/A4: "<</PageSize [595 842]>> setpagedevice"
*PageSize Wide/Wide: ""
*CloseUI: *PageSize
*ImageableArea A4/A4: "10 11 585 830"
*ImageableArea A4Big/T: "0 0 598 844"
*ImageableArea Letter/Letter: "0 0 612 792"
*PaperDimension Letter/Letter: "612 792"
*PaperDimension A4Big/Tolerance: "598 844"
*PaperDimension A4/A4: "595 842"
*PaperDimension Wide/Wide: "1200 300"
)";

const std::string kCustomSizes = R"(*VariablePaperSize: True
*HWMargins: 1 2 3 4
*CustomPageSize True: "pop pop pop <</PageSize[5 -2 roll]/ImagingBBox null>>setpagedevice"
*ParamCustomPageSize Width: 1 points 36 842
*ParamCustomPageSize Height: 2 points 40 1191.5
)";

/// What a description says that is the usual head and then this text.
std::shared_ptr<const APPDFile> Open(const std::string& inText)
{
    const ATemporaryFolder folder;
    return APPDFile::Open(folder.Write("printer.ppd", kHead + inText).c_str());
}

std::string Describe(const std::optional<APageSizeRecord>& inSize)
{
    return !inSize ? "none"
                   : FormatTemplate("%s %.1f %.1f %.1f %.1f %.1f %.1f",
                                    {inSize->fName, inSize->fWidth, inSize->fLength, inSize->fLeft, inSize->fBottom,
                                     inSize->fRight, inSize->fTop});
}

TEST(PPDInfo, AnEmptyValueIsNoneAndANumberIsTheFirstWithoutSpecification)
{
    const APPDInfo info(Open(R"(*VXFirst: ""
*VXFirst: "second"
*VXText: "some text"
*VXNum spec: "5"
*VXNum: 12
*VXNegative: "-7 points"
*VXHuge: "99999999999"
*VXSpecOnly a: "3"
)"));
    EXPECT_EQ(info.GetValue("VXFirst"), std::nullopt);
    EXPECT_TRUE(info.IsFeatureSupported("VXFirst"));
    EXPECT_EQ(info.GetNumericValue("VXNum"), 12);
    EXPECT_EQ(info.GetNumericValue("VXNegative"), -7);
    EXPECT_EQ(info.GetNumericValue("VXText"), 0);
    EXPECT_EQ(info.GetNumericValue("VXFirst"), -1);
    EXPECT_EQ(info.GetNumericValue("VXHuge"), INT_MAX);
    EXPECT_EQ(info.GetNumericValue("VXSpecOnly"), -1);
}

TEST(PPDInfo, InvocationCodesComeFromOptionsThenAttributes)
{
    const APPDInfo info(Open(R"PPD(*OpenUI *Slot: PickOne
*Slot Tray1/Upper tray: "<</X (%%s)>> setpagedevice"
*Slot Tray2/Lower: ""
*CloseUI: *Slot
*VXControlPSCode VXZone1Limit/Text: "%d zone"
*VXControlPSCode VXEmptyCode: ""
)PPD"));
    EXPECT_EQ(info.GetInvocationCode("Slot", "tray1"), "<</X (%%s)>> setpagedevice");
    EXPECT_EQ(info.GetInvocationCode("Slot", "Tray2"), std::nullopt);
    EXPECT_EQ(info.GetInvocationCode("VXControlPSCode", "vxzone1limit"), "%d zone");
    EXPECT_EQ(info.GetInvocationCode("VXControlPSCode", "VXEmptyCode"), std::nullopt);
}

TEST(PPDInfo, ADuplexUnitHasMoreThanTheChoiceOfNone)
{
    const std::string none = "*OpenUI *Duplex: PickOne\n*DefaultDuplex: none\n*Duplex none: \"off\"\n";
    EXPECT_FALSE(APPDInfo(Open(none + "*CloseUI: *Duplex\n")).IsFeatureSupported(kDuplexFeature));
    const std::string tumble = "*Duplex DuplexTumble: \"on\"\n";
    EXPECT_TRUE(APPDInfo(Open(none + tumble + "*CloseUI: *Duplex\n")).IsFeatureSupported(kDuplexFeature));
}

TEST(PPDInfo, TheFamilyIsReadFromAnyOfTheNames)
{
    EXPECT_FALSE(APPDInfo(Open("*VXName: \"Veldra\"\n")).IsVeldraPrinter());
    EXPECT_TRUE(APPDInfo(Open("*Product: \"(VELDRA 7300)\"\n")).IsVeldraPrinter());
    EXPECT_TRUE(APPDInfo(Open("*ModelName: \"My veldra\"\n")).IsVeldraPrinter());
}

TEST(PPDInfo, PageSizesByName)
{
    const auto file = Open(kCustomSizes + kSizes);
    const auto expectEach = [&](const char* inRecord, const std::vector<const char*>& inNames)
    {
        EXPECT_THAT(inNames,
                    Each(ResultOf([&](const char* inName) { return Describe(file->FindPageSize(inName)); }, inRecord)));
    };
    // A4Big is near enough to A4 too.
    expectEach("A4 595.0 842.0 10.0 11.0 585.0 830.0",
               {"A4", "a4", "A4,Tray2", "Tray2,,A4,Letter", "iso_a4_210x297mm"});
    expectEach("A4Big 598.0 844.0 0.0 0.0 598.0 844.0", {"oe_near_211.5x298.5mm"});
    // The last is of 617.0 points.
    expectEach("Letter 612.0 792.0 0.0 0.0 612.0 792.0",
               {"na_letter_8.5x11in", "tray-2,na_letter_8.5x11in", "oe_edge_8.5694x11in"});
    expectEach("Custom 100.0 200.0 1.0 2.0 97.0 196.0",
               {"Custom.100x200", "Custom.100x200,Tray2", "Tray2,Custom.100x200"});
    expectEach("Custom 288.0 432.0 1.0 2.0 285.0 428.0", {"Custom.4x6in"});
    expectEach("Custom 0.0 0.0 0.0 0.0 0.0 0.0", {"Custom"}); // whatever was asked before
    // The tiny one is not the empty record of custom sizes, and 8.57 inches are 617.04 points.
    expectEach("none", {"", ",", "B5", "Custom.100", "Custom.1e400x3", "custom_x_598x844mm", "custom_tiny_1x1mm",
                        "oe_beyond_8.57x11in", "letter_8.5x11in", "na_letter_8.5x11", "na_letter_8.5x11inch",
                        "na_letter_-8.5x11in", "na_letter_infx11in", "na_letter_8.5,11in", "na_letter_"});
    EXPECT_EQ("none", Describe(Open(kSizes)->FindPageSize("Custom.100x200"))) << "no custom sizes";
}

TEST(PPDInfo, PageSizeFacts)
{
    const auto file = Open(kCustomSizes + kSizes);
    EXPECT_EQ(file->GetDefaultPageSizeName(), "A4");
    EXPECT_EQ(file->GetPageSizeCode("letter"), "<</PageSize [612 792]>> setpagedevice");
    EXPECT_EQ(file->GetPageSizeCode("Wide"), std::nullopt);
    EXPECT_EQ(file->GetPageSizeCode("B5"), std::nullopt);
    const ACustomLimits limits = file->GetCustomLimits();
    EXPECT_THAT((std::array{limits.fMinWidth, limits.fMinHeight, limits.fMaxWidth, limits.fMaxHeight}),
                testing::ElementsAre(36, 40, 842, 1191.5F));
    std::ignore = file->FindPageSize("Custom.9999x9999");
    EXPECT_EQ(1200, file->GetLargestPageSize().fWidth);
    EXPECT_EQ(844, file->GetLargestPageSize().fLength);
    EXPECT_EQ(0, Open("")->GetLargestPageSize().fWidth);
    EXPECT_EQ(std::nullopt, Open("")->GetDefaultPageSizeName());
}

TEST(Numbers, HaveAPointInEveryLanguage)
{
    const AForeignLocale german;
    if (!german.IsSet())
    {
        GTEST_SKIP() << "no German locale";
    }
    const auto file = Open(kCustomSizes + kSizes);
    EXPECT_EQ(1191.5F, file->GetCustomLimits().fMaxHeight);
    EXPECT_EQ("Custom 100.5 200.2 1.0 2.0 97.5 196.2", Describe(file->FindPageSize("Custom.100.5x200.25")));
    EXPECT_EQ(612, file->FindPageSize("na_letter_8.5x11in").value_or(APageSizeRecord()).fWidth);
    EXPECT_EQ("1234567.5 1.500000 2.5 7", FormatTemplate("%'.1f %s %.1f %d", {1234567.5, 1.5, "2.5", 7LL}));
    EXPECT_EQ("1,500000", std::to_string(1.5)) << "the process keeps its own locale";
}

} // namespace
