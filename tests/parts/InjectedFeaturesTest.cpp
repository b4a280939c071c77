// What the features write into a job, run by Ghostscript: the pages must find everything as they would without it.

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "TemporaryFolder.h"
#include "TestSupport.h"

namespace
{

constexpr const char* kStatements = R"(*MirrorPrint True/On: ""
*VXInsertOrientation Portrait/P: "<< /Duplex false >> setpagedevice"
*VXInsertOrientation Landscape/L: "<< /Duplex true >> setpagedevice"
*VXAccountingInfo: "2"
*DefaultVXJobAccounting: True
*VXJobRetentionPersonal_PIN True/On: "/HoldType 1"
*InputSlot First/F: "<< /MediaPosition 1 >> setpagedevice"
*InputSlot Rest/R: "<< /MediaPosition 2 >> setpagedevice"
)";

constexpr const char* kFeatures = R"(%%BeginFeature: *VXUserName Set
%%EndFeature
%%BeginFeature: *VXJobName Set
%%EndFeature
%%BeginFeature: *VXUsePINToPrint True
<< /CollateDetails << /HoldKey (%s) >> >> setpagedevice
%%EndFeature
%%BeginFeature: *Collate False
<< /Collate false >> setpagedevice
%%EndFeature
[{
%%BeginFeature: *VXJobRetentionOption RETENTION
<< /CollateDetails << /Type 8
 /Hold 1 %s
>> >> setpagedevice
%%EndFeature
} stopped cleartomark
)";

/// Leaves two operands on the stack for the pages to find, which say what they find.
std::string MakeProbedJob(const std::string& inFeatures)
{
    std::string job = "%!PS-Adobe-3.0\n%%EndComments\n%%BeginProlog\n/a /b\n%%EndProlog\n%%BeginSetup\n" + inFeatures +
                      "%%EndSetup\n";
    for (const char* const page : {"1", "2", "3"})
    {
        job += std::string("%%Page: ") + page + " " + page +
               "\n%%EndPageSetup\n.5 .7 scale 10 20 translate\ncount = countdictstack = matrix currentmatrix == "
               "currentpagedevice /MediaPosition 2 copy known {get ==} {pop pop (none) =} ifelse\npstack showpage\n";
    }
    return job + "%%Trailer\n%%EOF\n";
}

/// What the pages say.
std::string Print(const std::string& inOptions, const std::string& inFeatures = "")
{
    AFilterRun run;
    run.fOptions = inOptions;
    run.fPPD = MakePPD(kStatements);
    run.fJob = MakeProbedJob(inFeatures);
    run.fTitle = "(unbalanced \\";
    const ATemporaryFolder folder;
    const std::string job = folder.Write("job.ps", RunFilter(run).fOutput);
    const std::string command = "gs -q -dSAFER -dBATCH -dNOPAUSE -sDEVICE=nullpage " + job + " 2>&1";
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string said;
    std::array<char, 4096> buffer{};
    for (std::size_t count = 0; (count = fread(buffer.data(), 1, buffer.size(), pipe.get())) > 0;)
    {
        said.append(buffer.data(), count);
    }
    EXPECT_EQ(said.find("Error"), std::string::npos) << inOptions << '\n' << said;
    return said;
}

} // namespace

TEST(InjectedFeatures, LeaveThePagesAsTheyWere)
{
    const std::string names = " VXCustomUserName=%28%5c VXCustomJobName=%29 VXPinToPrintExtended=%28%5c"
                              " VXUsePINToPrint=True VXAccountingInfo=1";
    const std::string plain = Print("");
    ASSERT_NE(plain, "");
    EXPECT_EQ(plain, Print("PMPageOrientation=2"));
    for (const char* const retention : {"VXJobRetentionPrivate", "VXJobRetentionProof", "VXJobRetentionPersonal"})
    {
        const std::string features = Replace(kFeatures, "RETENTION", retention);
        EXPECT_EQ(plain, Print(std::string("VXJobRetention=") + retention + names, features));
    }
    const std::string mirrored = Print("MirrorPrint=True");
    EXPECT_NE(plain, mirrored);
    std::string fed = Print("MirrorPrint=True AP_FIRSTPAGE_InputSlot=First InputSlot=Rest");
    for (const char* const source : {"\n1\n", "\n2\n", "\n2\n"})
    {
        EXPECT_NE(fed.find(source), std::string::npos);
        fed = Replace(fed, source, "\nnone\n");
    }
    EXPECT_EQ(mirrored, fed);
}
