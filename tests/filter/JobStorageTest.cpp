#include <gtest/gtest.h>

#include "TestSupport.h"

namespace
{

constexpr const char* kPIN = "4711";
constexpr const char* kPrivate = "VXJobRetentionOption=VXJobRetentionPrivate VXPinToPrintExtended=4711 ";
constexpr const char* kCollateTrue = "%%BeginFeature: *Collate True\n\t<< /Collate true >> setpagedevice\n";
constexpr const char* kEnd = "%%EndFeature\n";

std::string MakeFeature(const std::string& inName, const std::string& inCode = "its own code\n")
{
    return "%%BeginFeature: *" + inName + "\n" + inCode + kEnd;
}

std::string MakeHold(int inKind, const std::string& inPIN)
{
    return "\t<< /Collate true /CollateDetails\n\t\t<< /Type 8 /Hold " + std::to_string(inKind) +
           " /HoldType 1 /HoldKey (" + inPIN + ") >>\n\t>> setpagedevice\n";
}

AFilterRun StorageRun(std::string inOptions, const std::string& inSetup)
{
    return {.fOptions = std::move(inOptions),
            .fJob = MakeJob(1, inSetup),
            .fPPD = MakePPD("*VXJobRetentionPersonal_PIN True/On: \"/HoldType 1\"\n"),
            .fEnvironment = {{"CONTENT_TYPE", ""}}};
}

/// What stands in the setup of a native job after the filter; the PIN must never reach the log.
std::string FilterSetup(const AFilterRun& inRun)
{
    const AFilterResult result = RunFilter(inRun);
    EXPECT_EQ(result.fStatus, 0);
    EXPECT_FALSE(result.IsLogged(kPIN)) << result.fLog;
    return Between(result.fOutput, "%%BeginSetup\n", "%%EndSetup").value_or("no setup");
}

std::string FilterSetup(const std::string& inOptions, const std::string& inSetup)
{
    return FilterSetup(StorageRun(inOptions, inSetup));
}

} // namespace

TEST(JobStorage, PrivateJobsAreHeldForTheirPIN)
{
    const std::string once = MakeFeature("VXJobRetentionOption VXJobRetentionPrivate");
    EXPECT_EQ(FilterSetup(kPrivate, once), kCollateTrue + (kEnd + Replace(once, "its", MakeHold(1, kPIN) + "its")));
    const std::string stored = MakeFeature("VXJobRetentionOption VXJobRetentionPrivateStore");
    EXPECT_EQ(FilterSetup("VXJobRetention=VXJobRetentionPrivateStore VXPinToPrintExtended=%28a%5c%25s", stored),
              kCollateTrue + (kEnd + Replace(stored, "its", MakeHold(2, "\\(a\\\\%s") + "its")));
    const std::string longPIN(9000, '7');
    EXPECT_EQ(FilterSetup("VXJobRetention=x VXPinToPrintExtended=" + longPIN, once),
              kCollateTrue + (kEnd + Replace(once, "its", MakeHold(1, longPIN) + "its")));
}

TEST(JobStorage, AConvertedJobGetsAStoppedContextForEachFeature)
{
    AFilterRun run = StorageRun(kPrivate, "[{\n" + MakeFeature("VXJobRetentionOption VXJobRetentionPrivate"));
    run.fEnvironment = {{"CONTENT_TYPE", "application/pdf"}};
    EXPECT_TRUE(FilterSetup(run).starts_with(std::string("[{\n") + kCollateTrue + kEnd +
                                             "} stopped cleartomark\n[{\n%%BeginFeature: *VXJobRetentionOption"));
}

TEST(JobStorage, NamesReachEveryPrinterInAnEncodingItCanRead)
{
    struct
    {
        const char* fOption;
        const char* fUTF8;
        const char* fLatin1;
    } const cases[] = {
        {"VXCustomJobName=Gr\xC3\xBC\xC3\x9F", "Gr\xC3\xBC\xC3\x9F", "Gr\xFC\xDF"},
        {"VXCustomJobName=Gr%C3%BC%c3%9F%2", "Gr\xC3\xBC\xC3\x9F%2", "Gr\xFC\xDF%2"},
        {"VXCustomJobName=Gr%FC%DF", "Gr\xC3\xBC\xC3\x9F", "Gr\xFC\xDF"},
        {"VXCustomJobName=\xE6\x96\x87+%29\\\\(", "\xE6\x96\x87+\\)\\\\\\(", ""},
        {"VXCustomJobName=%0A%%Page:", "\\012%%Page:", "\\012%%Page:"},
        {"VXCustomJobName=", "", ""},
        {"", "", ""},
    };
    for (const auto& test : cases)
    {
        const auto dictionary = [](const char* inTabs, const std::string& inName)
        {
            const std::string tabs = inTabs;
            return tabs + "<< /CollateDetails\n" + tabs + "\t<< /Type 8\n" + tabs + "\t\t/JobMgrName (" + inName +
                   ")\n" + tabs + "\t>>\n" + tabs + ">> setpagedevice\n";
        };
        EXPECT_EQ(
            FilterSetup(std::string(kPrivate) + test.fOption, MakeFeature("VXJobName Set")),
            "%%BeginFeature: *VXJobName Set\n\tcurrentpagedevice /StringCodeSet known\n\t{\n\t\t<< /StringCodeSet "
            "(UTF8) >> setpagedevice\n" +
                dictionary("\t\t", test.fUTF8) + "\t}\n\t{\n" + dictionary("\t\t", test.fLatin1) +
                "\t} ifelse\n\n%%EndFeature\n")
            << test.fOption;
    }
    // 130 characters fit in Latin 1 only, 300 not at all.
    const auto wide = [](int inCount)
    {
        std::string options = std::string(kPrivate) + "VXCustomUserName=";
        for (int i = 0; i < inCount; ++i)
        {
            options += "\xC3\xBC";
        }
        return FilterSetup(options, MakeFeature("VXUserName FileSharingName"));
    };
    EXPECT_EQ(Between(wide(130), "/UserName (", ")"), "");
    EXPECT_EQ(Between(wide(130), "}\n\t{\n\t\t<< /CollateDetails\n\t\t\t<< /Type 8\n\t\t\t\t/UserName (", ")"),
              std::string(130, '\xFC'));
    EXPECT_EQ(wide(300).find('\xFC'), std::string::npos);
}

TEST(JobStorage, OnlyTheFirstFeatureBlockIsReplaced)
{
    const std::string rest = MakeFeature("VXUserName None") + "%%+ VXUserName Set\n(VXJobName Set) show\n" +
                             "%%Title: VXJobRetentionPrivate VXUsePINToPrint True *Collate False\n";
    EXPECT_EQ(FilterSetup(kPrivate, rest), rest);
    const std::string twice = MakeFeature("VXUserName Set") + MakeFeature("VXUserName Set");
    EXPECT_TRUE(FilterSetup(kPrivate, twice).ends_with("ifelse\n\n%%EndFeature\n" + MakeFeature("VXUserName Set")));
    // Without its end a block costs itself alone.
    EXPECT_TRUE(FilterSetup(kPrivate, "%%BeginFeature: *VXUserName Set\nlost\n" + rest)
                    .ends_with("ifelse\n\n%%EndFeature\n" + rest));
}

TEST(JobStorage, AProofOfOneCopyIsPrintedAtOnce)
{
    const std::string options = "VXJobRetentionOption=VXJobRetentionProof VXPinToPrintExtended=4711";
    const std::string pin = MakeFeature("VXUsePINToPrint True", "/HoldKey (%s)\n");
    AFilterRun run = StorageRun(options, MakeFeature("VXJobRetentionOption VXJobRetentionProof") + pin);
    EXPECT_EQ(FilterSetup(run), std::string(kCollateTrue) + kEnd +
                                    "%%BeginFeature: *VXJobRetentionOption VXJobRetentionProof\n\t<< /Collate true "
                                    "/CollateDetails\n\t\t<< /Type 8 /Hold 0 >>\n\t>> setpagedevice\n%%BeginFeature: "
                                    "*VXUsePINToPrint True\n");
    run.fCopies = "2";
    EXPECT_EQ(FilterSetup(run), kCollateTrue + (kEnd + MakeFeature("VXJobRetentionOption VXJobRetentionProof")) +
                                    Replace(pin, "%s", kPIN));
}

TEST(JobStorage, ThePINFillsThePrintersTemplate)
{
    const std::string code = "<< 100% %d\n/HoldKey (%s) %d %%\n>> setpagedevice\n";
    const std::string filled = "<< 100% %d\n/HoldKey (4711) %d %\n>> setpagedevice\n";
    const std::string used = "VXUsePINToPrint True";
    EXPECT_EQ(FilterSetup(kPrivate, MakeFeature(used, code)), MakeFeature(used, filled));
    EXPECT_EQ(FilterSetup("VXJobRetention=x", MakeFeature(used, code)), "%%BeginFeature: *VXUsePINToPrint True\n");
    const std::string unused = MakeFeature("VXUsePINToPrint False", code) + MakeFeature(used, code);
    EXPECT_EQ(FilterSetup(kPrivate, unused), unused);
    // Lines are read in pieces of 255 bytes here.
    const std::string cut = std::string(250, '%') + "/HoldKey (%s)\n";
    EXPECT_EQ(FilterSetup(kPrivate, MakeFeature(used, cut)), MakeFeature(used, cut));
}

TEST(JobStorage, APersonalJobGetsThePrintersHoldForItsPIN)
{
    const std::string feature = "VXJobRetentionOption VXJobRetentionPersonal";
    const std::string code = "<< /Hold 1 %s\n << /Hold 1 %s %s >>\n% %s\n";
    const std::string options = "VXJobRetention=VXJobRetentionPersonal VXUsePINToPrint=";
    const std::string filled = "<< /Hold 1 /HoldType 1\n << /Hold 1 /HoldType 1 %s >>\n% %s\n";
    for (const auto& [value, used] : {std::pair("true", filled), std::pair("True", filled), std::pair("TRUE", filled),
                                      std::pair("false", code), std::pair("no", code), std::pair("", code)})
    {
        EXPECT_EQ(FilterSetup(options + value, MakeFeature(feature, code)),
                  kCollateTrue + (kEnd + MakeFeature(feature, used)))
            << value;
    }
}

TEST(JobStorage, SwitchedOffItLeavesTheJobAlone)
{
    const std::string setup = MakeFeature("VXJobRetentionOption VXJobRetentionPrivate") + MakeFeature("Collate False");
    for (const char* const options : {"", "VXJobRetention=vxjobretentionOFF",
                                      "VXJobRetentionOption=VXJobRetentionOff VXJobRetention=VXJobRetentionPrivate"})
    {
        EXPECT_EQ(FilterSetup(options, setup), setup) << options;
    }
}

TEST(Collation, AHeldJobLosesEveryCollationOfItsOwn)
{
    const std::string off = MakeFeature("VXJobRetentionOption VXJobRetentionOff");
    const std::string store = MakeFeature("VXJobRetentionOption VXJobRetentionStoreJob");
    EXPECT_EQ(FilterSetup(kPrivate, MakeFeature("Collate True") + off + MakeFeature("Collate False") + store + store),
              off + kCollateTrue + kEnd + store + store);
}

TEST(Collation, OldDialogsForgetToCollateWhatTheyStaple)
{
    const std::string key = "com.apple.print.PrintSettings.PMCopyCollate..b.";
    const std::string wanted = "VXStaplerOptions=UpperLeft collate=false " + key + "=True";
    AFilterRun run =
        StorageRun(wanted, MakeFeature("Collate True") + MakeFeature("Collate False") + MakeFeature("Collate False"));
    run.fCopies = "2";
    run.fEnvironment["VX_SYSTEM_VERSION"] = "10.3.9";
    EXPECT_EQ(FilterSetup(run), MakeFeature("Collate True") + kCollateTrue + kCollateTrue);
    const std::string untouched = *Between(run.fJob, "%%BeginSetup\n", "%%EndSetup");
    for (const char* const part : {"UpperLeft|none", "collate=false|collate=False", "=True|=False", "collate=|other="})
    {
        const std::string change = part;
        const std::size_t bar = change.find('|');
        run.fOptions = Replace(wanted, change.substr(0, bar), change.substr(bar + 1));
        EXPECT_EQ(FilterSetup(run), untouched) << part;
    }
    run.fOptions = wanted;
    run.fEnvironment["VX_SYSTEM_VERSION"] = "10.4";
    EXPECT_EQ(FilterSetup(run), untouched);
}
