// TBCP, smart duplex, jobs held at the printer.

#include <gtest/gtest.h>

#include "TestSupport.h"

namespace
{

AFilterRun VeldraRun(std::string inJob)
{
    return {.fOptions = "",
            .fJob = std::move(inJob),
            .fPPD = Replace(MakePPD("*cupsProtocol: \"TBCP\"\n"), "*ModelName: \"Test\"", "*ModelName: \"Veldra 1\""),
            .fEnvironment = {{"VX_SYSTEM_VERSION", "10.3.9"}}};
}

AFilterRun DuplexRun(int inPages, const std::string& inOptions)
{
    return {.fOptions = "sides=two-sided-long-edge " + inOptions,
            .fJob = MakeJob(inPages),
            .fPPD = MakePPD("*VXDummy: \"\"\n*MirrorPrint True/On: \"\"\n")};
}

constexpr const char* kDuplexOff = "\nmark\n\n<< /Duplex false >> setpagedevice\ncleartomark\n";

} // namespace

TEST(TBCP, SwitchesInFrontOfTheJobAndOnlyThere)
{
    EXPECT_EQ(RunFilter(VeldraRun("%!PS-Adobe-3.0\nx\x01My\x01Mz\nlater \x01M\n%!PS-Adobe-3.0\n")).fOutput,
              "\x01M%!PS-Adobe-3.0\nxyz\nlater \x01M\n%!PS-Adobe-3.0\n\x04");
    EXPECT_EQ(RunFilter(VeldraRun("\x01M%!PS-Adobe-3.0\nx\n%!PS-Adobe-3.0\n")).fOutput,
              "%!PS-Adobe-3.0\nx\n\x01M%!PS-Adobe-3.0\n\x04");
}

TEST(TBCP, OnlyForOldSystemsConvertedJobsAndPrintersThatTalkIt)
{
    const std::string job = "%!PS-Adobe-3.0\n\x01M\n";
    AFilterRun newer = VeldraRun(job);
    newer.fEnvironment["VX_SYSTEM_VERSION"] = "10.4";
    AFilterRun native = VeldraRun(job);
    native.fEnvironment["CONTENT_TYPE"] = "application/postscript";
    AFilterRun other = VeldraRun(job);
    other.fPPD = Replace(other.fPPD, "Veldra", "Other");
    AFilterRun binary = VeldraRun(job);
    binary.fPPD = Replace(binary.fPPD, "\"TBCP\"", "\"BCP\"");
    for (const AFilterRun& run : {newer, native, other, binary})
    {
        EXPECT_EQ(RunFilter(run).fOutput, job + "\x04");
    }
}

TEST(SmartDuplex, TheLastPageOfAnOddJobIsOneSided)
{
    const AFilterResult result = RunFilter(DuplexRun(3, ""));
    const auto page = Between(result.fOutput, "%%Page: 3 3\n", "%%BeginPageSetup");
    EXPECT_EQ(page, std::string("matrix currentmatrix") + kDuplexOff + "setmatrix\n");
    EXPECT_EQ(Between(result.fOutput, "%%Page: 1 1\n", "%%BeginPageSetup"), "");
    EXPECT_EQ(RunFilter(DuplexRun(4, "")).fOutput.find("/Duplex false"), std::string::npos);
}

TEST(SmartDuplex, UsesTheRedefinedOperatorsWhereThereAreSome)
{
    const AFilterResult result = RunFilter(DuplexRun(1, "MirrorPrint=True"));
    EXPECT_EQ(Between(result.fOutput, "%%Page: 1 1\n", "%%BeginPageSetup"),
              std::string("matrix VXcurrent") + kDuplexOff + "VXset\n");
}

TEST(WebPreview, TellsThePrinterWhetherToHoldTheJob)
{
    constexpr const char* kHold = "*VXHoldJob: \"yes\"\n";
    EXPECT_EQ(SetupOf("VXHoldJob=true", kHold),
              "[{\n%%BeginPluginPS: VXHoldJob True\n\t/VXDict /ProcSet findresource /HoldPrint get true exch exec\n"
              "%%EndPluginPS\n}stopped cleartomark\n");
    EXPECT_EQ(SetupOf("VXHoldJob=Off", kHold),
              "[{\n%%BeginPluginPS: VXHoldJob False\n\t/VXDict /ProcSet findresource /HoldPrint get false exch exec\n"
              "%%EndPluginPS\n}stopped cleartomark\n");
    EXPECT_EQ(SetupOf("VXHoldJob=true", ""), "");
}
