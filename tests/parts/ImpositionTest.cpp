// Booklets and two-sided jobs by hand, printed by Ghostscript.

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "TemporaryFolder.h"
#include "TestSupport.h"

namespace
{

/// A bar at the bottom left of each page; at the end, what is left on the stacks.
std::string MakeBarJob(int inPages, const std::string& inPageSetup)
{
    std::string job = "%!PS-Adobe-3.0\n%%EndComments\n%%BeginSetup\n%%EndSetup\n";
    for (int page = 1; page <= inPages; ++page)
    {
        const std::string number = std::to_string(page);
        job += "%%Page: " + number + " " + number + "\n" + inPageSetup + "100 100 200 50 rectfill\nshowpage\n";
    }
    return job + "%%Trailer\n(left: )print count =only ( )print countdictstack =\n%%EOF\n";
}

/// What Ghostscript says: a line "%%BoundingBox: ..." for each side, and what the job prints.
std::vector<std::string> Draw(const std::string& inJob)
{
    const ATemporaryFolder folder;
    const std::string command =
        "gs -q -dBATCH -dNOPAUSE -dSAFER -sDEVICE=bbox " + folder.Write("job.ps", inJob) + " 2>&1";
    std::vector<std::string> lines;
    FILE* const pipe = popen(command.c_str(), "r");
    std::array<char, 512> line{};
    while (pipe != nullptr && std::fgets(line.data(), line.size(), pipe) != nullptr)
    {
        const std::string text = line.data();
        if (text.find("%%HiRes") == std::string::npos)
        {
            lines.push_back(text.substr(0, text.find('\n')));
        }
    }
    EXPECT_EQ(pclose(pipe), 0);
    return lines;
}

} // namespace

TEST(Imposition, ABookletsPagesShareASideWhateverSizeAndClipTheySet)
{
    AFilterRun run;
    run.fOptions = "VXBookletFilter=True VXBookletPaperSize=A4 media=A4";
    run.fPPD = MakePPD("*VXBookletFilter: \"True\"\n");
    run.fJob = MakeBarJob(3, "<</PageSize[595 842]>>setpagedevice\n0 0 400 400 rectclip\n");
    EXPECT_EQ(Draw(RunFilter(run).fOutput), (std::vector<std::string>{"%%BoundingBox: 481 493 516 630",
                                                                      "%%BoundingBox: 481 79 516 630", "left: 0 3"}));
}

TEST(Imposition, TheBacksOfAJobByHandAreTurned)
{
    AFilterRun run;
    run.fOptions = "VXManualDuplexSupport=True VXManualDuplexSwitch=True media=A4";
    run.fPPD = MakeSimplexPPD("");
    run.fJob = MakeBarJob(2, "");
    EXPECT_EQ(Draw(RunFilter(run).fOutput), (std::vector<std::string>{"%%BoundingBox: 294 691 495 743",
                                                                      "%%BoundingBox: 99 99 301 151", "left: 0 3"}));
}
