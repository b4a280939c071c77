#include <gtest/gtest.h>

#include "Imaging/HostFacts.h"
#include "TestSupport.h"

namespace
{

constexpr const char* kTime = "2023-11-14T22:13:20Z"; // of the time that test runs have

AFilterRun AccountingRun(std::string inOptions, const std::string& inStatements)
{
    return {.fOptions = std::move(inOptions), .fJob = MakeJob(1), .fPPD = MakePPD(inStatements)};
}

std::string MakePlugIn(const std::string& inKeyword, const std::string& inProcedure, const std::string& inValue)
{
    return "[{\n%%BeginPluginPS: " + inKeyword + "\n\t/VXDict /ProcSet findresource /" + inProcedure + " get (" +
           inValue + ") exch exec\n%%EndPluginPS\n}stopped cleartomark\n";
}

std::string GetPlugIns(const AFilterRun& inRun)
{
    return Between(RunFilter(inRun).fOutput, "%%Pages: 1\n", "%%EndComments").value_or("no comments");
}

struct ADictionaries
{
    std::string fUTF8;
    std::string fLatin1;
};

ADictionaries GetDictionaries(const std::string& inText)
{
    return {Between(inText, "(UTF8) >> setpagedevice\n\t\t<<\n", "\t\t>> setuserparams\n\t}\n").value_or("none"),
            Between(inText, "\t{\n\t\t<<\n", "\t\t>> setuserparams\n\t} ifelse\n").value_or("none")};
}

constexpr const char* kForm1 = "*VXAccountingInfo: \"1\"\n";

} // namespace

TEST(Accounting, ServersGetACallForEachField)
{
    const std::string time = MakePlugIn("VXTime", "SetTime", kTime);
    const std::string name = MakePlugIn("VXJobName", "SetJobName", "title");
    const std::string user = MakePlugIn("VXUserName", "SetUserName", "user") + MakePlugIn("VXUUID", "SetUUID", "(1)");
    const std::string escapedUser = Replace(user, "((1))", "(\\(1\\))");
    const std::string account = MakePlugIn("VXAccountID", "SetAccountId", "a\\012b");
    const std::string keywords = "*VXJobAccounting True/On: \"\"\n*VXAccountID Custom/C: \"\"\n";
    const std::string uuid = " VXUUID=%281%29";
    EXPECT_EQ(GetPlugIns(AccountingRun("VXJobAccounting=False" + uuid, keywords)), time + name);
    EXPECT_EQ(GetPlugIns(AccountingRun("VXJobAccounting=true" + uuid, keywords)), time + name + escapedUser);
    EXPECT_EQ(GetPlugIns(AccountingRun("VXJobAccounting=off VXAccountID=Custom VXAccountIDEdit=a%0Ab", keywords)),
              time + name + account);
    EXPECT_EQ(GetPlugIns(AccountingRun(uuid, "*DefaultVXJobAccounting: true\n")), time + name + escapedUser);

    const std::string host = MakePlugIn("VXHostName", "SetHostName", CreateComputerName()) +
                             MakePlugIn("VXDomainName", "SetDomain", CreateDomainName());
    const AFilterRun serverForm = AccountingRun(uuid, "*VXAccountingInfo: \"3\"\n");
    EXPECT_EQ(GetPlugIns(serverForm), Replace(time, "SetTime ", "SetTimeStamp ") + name + escapedUser + host);
    EXPECT_EQ(RunFilter(serverForm).fOutput.find("setuserparams"), std::string::npos);
}

TEST(Accounting, OfficePrintersGetADictionaryInTwoEncodings)
{
    AFilterRun run = AccountingRun("VXUUID=u VXApplicationName=Excel%20%28x%29 VXApplicationFilename=\xE6\x96\x87.xls "
                                   "VXDepartmentID=%C3%BC VXDepartmentAccessCode=9876",
                                   "*VXAccountingInfo: \"0x1\"\n");
    run.fUser = "J\xC3\xBCrgen";
    const std::string domain = CreateDomainName();
    const auto body = [&](const std::string& inUmlaut, const std::string& inFile)
    {
        return "\t\t\t/JobName (title)\n\t\t\t/JobAcct1 (J" + inUmlaut + "rgen)\n\t\t\t/JobAcct2 (" +
               CreateComputerName() + ")\n" + (domain.empty() ? "" : "\t\t\t/JobAcct3 (" + domain + ")\n") +
               "\t\t\t/JobAcct4 (" + kTime + ")\n\t\t\t/JobAcct5 (u)\n\t\t\t/JobAcct6 (Excel \\(x\\))\n" + inFile +
               "\t\t\t/JobAcct8 (" + inUmlaut + ")\n\t\t\t/JobAcct9 (9876)\n";
    };
    const AFilterResult result = RunFilter(run);
    EXPECT_EQ(
        Between(result.fOutput, "%%BeginProlog\n", "%%EndProlog"),
        "[{\n%%BeginFeature: *VXAccountingInfo\n\tcurrentpagedevice /StringCodeSet known\n\t{\n\t\t<< /StringCodeSet "
        "(UTF8) >> setpagedevice\n\t\t<<\n" +
            body("\xC3\xBC", "\t\t\t/JobAcct7 (\xE6\x96\x87.xls)\n") + "\t\t>> setuserparams\n\t}\n\t{\n\t\t<<\n" +
            body("\xFC", "") + "\t\t>> setuserparams\n\t} ifelse\n%%EndFeature\n} stopped cleartomark\n");
    EXPECT_EQ(result.fOutput.find("VXDict"), std::string::npos);
}

TEST(Accounting, TheLogNeverShowsTheAccessCode)
{
    const AFilterResult result = RunFilter(AccountingRun("VXDepartmentAccessCode=s3cr\xC3\xABt%28", kForm1));
    EXPECT_EQ(Between(GetDictionaries(result.fOutput).fUTF8, "JobAcct9 (", "\n"), "s3cr\xC3\xABt\\()");
    EXPECT_TRUE(result.IsLogged("Accounting info:[{\n"));
    EXPECT_TRUE(result.IsLogged("/JobAcct9 (***)"));
    EXPECT_FALSE(result.IsLogged("s3cr"));
    EXPECT_FALSE(RunFilter(AccountingRun("", kForm1)).IsLogged("JobAcct9"));
}

TEST(Accounting, NamesOfAnyKindKeepTheirPlace)
{
    AFilterRun run = AccountingRun("", kForm1);
    run.fTitle = "a\x01"
                 "b\xFF(\\";
    run.fUser = "J\xFCrgen";
    ADictionaries found = GetDictionaries(RunFilter(run).fOutput);
    EXPECT_EQ(Between(found.fUTF8, "/JobName ", "\n"), "(a b\xEF\xBF\xBD\\(\\\\)");
    EXPECT_EQ(Between(found.fUTF8, "/JobAcct1 ", "\n"), "(J\xC3\xBCrgen)");
    EXPECT_EQ(found.fLatin1.find("JobName"), std::string::npos);
    EXPECT_EQ(Between(found.fLatin1, "/JobAcct1 ", "\n"), "(J\xFCrgen)");

    run.fTitle = std::string(255, 'x');
    run.fUser = std::string(256, 'x');
    found = GetDictionaries(RunFilter(run).fOutput);
    EXPECT_TRUE(found.fUTF8.starts_with("\t\t\t/JobName (" + run.fTitle + ")\n\t\t\t/JobAcct2 (")) << found.fUTF8;

    run.fOptions = "PMJobName=a%20b VXRealUserName=%41 PMApplicationName=%42";
    found = GetDictionaries(RunFilter(run).fOutput);
    EXPECT_TRUE(found.fUTF8.starts_with("\t\t\t/JobName (a%20b)\n\t\t\t/JobAcct1 (%41)\n")) << found.fUTF8;
    EXPECT_EQ(Between(found.fUTF8, "/JobAcct6 ", "\n"), "(%42)");

    // Calls are written whole or not at all.
    run = AccountingRun("", "*DefaultVXJobAccounting: False\n");
    run.fTitle = std::string(9000, 'x');
    EXPECT_EQ(GetPlugIns(run), MakePlugIn("VXTime", "SetTime", kTime));
}

TEST(Accounting, OneFormListsTheUsersGroups)
{
    for (const auto& [form, hasGroups] : {std::pair("2", true), std::pair("02", true), std::pair("1", false)})
    {
        AFilterRun run = AccountingRun(std::string("VXAccountingInfo=") + form, "*VXAccountingInfo: \"7\"\n");
        run.fUser = "root";
        const ADictionaries found = GetDictionaries(RunFilter(run).fOutput);
        std::string groups;
        for (const std::string& group : GetGroupsForUser("root"))
        {
            groups += "\t\t\t/Group" + std::to_string(std::count(groups.begin(), groups.end(), '\n') + 1) + " (" +
                      group + ")\n";
        }
        ASSERT_FALSE(groups.empty());
        EXPECT_EQ(found.fUTF8.ends_with(groups), hasGroups) << form;
        EXPECT_EQ(found.fLatin1.ends_with(groups), hasGroups) << form;
    }
}

TEST(Accounting, NothingHappensUnlessThePrinterKeepsAccounts)
{
    for (const char* const statements : {"", "*VXAccountingInfo: \"0\"\n", "*VXAccountingInfo: \"none\"\n",
                                         "*DefaultVXJobAccounting: Maybe\n", "*VXAccountingInfo: \"\"\n"})
    {
        const AFilterRun run = AccountingRun("VXJobAccounting=True", statements);
        EXPECT_EQ(RunFilter(run).fOutput, run.fJob + "\x04") << statements;
    }
}
