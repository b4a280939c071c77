// Jobs that lp sends to a print server of the test's own, through CUPS's filters and ours: what comes out on paper.

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Launch.h"
#include "Paper.h"
#include "PrintServer.h"

using testing::HasSubstr;
using testing::Not;

namespace
{

/// Every job of a test must have ended well, and nothing may be left of it.
class Server : public testing::Test
{
protected:
    /// What the printer got of a job; none when it does not end as completed.
    std::vector<ASide> WaitForPaper(int inJob)
    {
        EXPECT_EQ(fServer.WaitForEnd(inJob), IPP_JSTATE_COMPLETED) << fServer.GetLog();
        return std::filesystem::exists(fServer.GetPath(inJob)) ? ReadSides(fServer.GetPath(inJob))
                                                               : std::vector<ASide>();
    }

    void TearDown() override
    {
        const std::string log = fServer.GetLog();
        EXPECT_THAT(log, Not(HasSubstr("stopped with status")));
        EXPECT_THAT(log, Not(HasSubstr("crashed")));
        EXPECT_EQ(fServer.GetLeftovers(), "");
    }

    ATemporaryFolder fFolder;
    APrintServer fServer;
};

} // namespace

TEST_F(Server, PrintsDocumentsOfEveryKind)
{
    const int pdf = fServer.Print("office", MakeNumberedPDF(fFolder, 3));
    const int postScript = fServer.Print("manual", MakeNumberedPostScript(fFolder, 3));
    const int text = fServer.Print("veldra", fFolder.Write("letter.txt", "Dear reader\n\fThe second page\n"));
    EXPECT_EQ(ShowSides(WaitForPaper(pdf)), "1 2 3");
    EXPECT_EQ(ShowSides(WaitForPaper(postScript)), "1 2 3");
    const std::vector<ASide> letter = WaitForPaper(text);
    ASSERT_EQ(letter.size(), 2);
    // The letters of its font have no names that could be read back.
    EXPECT_EQ(letter[0].fWords.size(), 2);
    EXPECT_EQ(letter[1].fWords.size(), 3);
}
