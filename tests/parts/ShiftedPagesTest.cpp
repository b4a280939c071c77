// Pages that are moved or mirrored, printed by Ghostscript: where their ink is.

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>

#include "TemporaryFolder.h"
#include "TestSupport.h"

namespace
{

constexpr const char* kPrinter = "*MirrorPrint: \"True\"\n"
                                 "*VXImageShiftDetails Front: \"<< /PageOffset [ %f %f ] >> setpagedevice\"\n";

/// The ink of the first page as "left bottom right top" in points, each rounded outwards by a point; the page shows one
/// bar, from 100 100 to 300 150.
std::string PrintBar(const std::string& inOptions)
{
    AFilterRun run;
    run.fOptions = inOptions;
    run.fPPD = MakePPD(kPrinter);
    run.fJob = Replace(MakeJob(1, "<</PageSize[595 842]>>setpagedevice\n"
                                  "%%BeginFeature: *VXImageShiftFront True\n%%EndFeature\n"),
                       "(page 1) show", "100 100 200 50 rectfill");
    const ATemporaryFolder folder;
    const std::string command =
        "gs -q -dBATCH -dNOPAUSE -dSAFER -sDEVICE=bbox " + folder.Write("job.ps", RunFilter(run).fOutput) + " 2>&1";
    FILE* const pipe = popen(command.c_str(), "r");
    std::array<char, 200> line{};
    const bool isRead = pipe != nullptr && std::fgets(line.data(), line.size(), pipe) != nullptr;
    EXPECT_TRUE(isRead && pclose(pipe) >= 0);
    const std::string box = line.data();
    return box.substr(box.find(':') + 2, box.find('\n') - box.find(':') - 2);
}

} // namespace

TEST(PagesOnPaper, AreShiftedByTheMillimetresAskedFor)
{
    EXPECT_EQ(PrintBar(""), "99 99 301 151");
    EXPECT_EQ(PrintBar("VXImageShiftFront=True VXImageShiftFrontX=25.4 VXImageShiftFrontY=12.7"), "171 135 373 187");
    EXPECT_EQ(PrintBar("VXImageShiftFront=True VXImageShiftFrontX=25.4 VXRotate180=True"), "27 99 229 151");
}

TEST(PagesOnPaper, AreMirroredAboutTheirMiddle)
{
    EXPECT_EQ(PrintBar("MirrorPrint=True"), "294 99 495 151");
    EXPECT_EQ(PrintBar("MirrorPrint=True orientation-requested=4"), "99 691 301 743");
}
