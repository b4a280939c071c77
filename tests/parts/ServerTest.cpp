// Jobs that lp sends to a print server of the test's own, through CUPS's filters and ours: what comes out on paper.

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Launch.h"
#include "Paper.h"
#include "PrintServer.h"

using testing::HasSubstr;
using testing::Not;

namespace
{

/// A job and what must become of it: parts joined by " | ". First its sides, then what else matters: "trays", "duplex"
/// and "colours" of each side, words of its "device" that hold for every side, text that it "holds".
struct AJob
{
    std::string fQueue;
    std::string fDocument; ///< "pdf" or "ps", and its number of pages
    std::string fArguments;
    std::string fWanted;
};

const std::string kBooklet = "-o VXBookletFilter=True -o VXBookletPaperSize=A4 ";
const std::string kByHand = "-o VXManualDuplexSupport=True -o VXManualDuplexSwitch=True ";
const std::string kWithGuide = kByHand + "-o VXManualDuplexPrintGuide=True ";
const std::string kFirstFromTray2 = "-o AP_FIRSTPAGE_InputSlot=Tray2 -o InputSlot=Tray1 ";
const std::string kMark = "-o VXwmrSwitch=Overlay -o VXwmrTextColor=Red ";
const std::string kFirstMarked = kMark + "-o VXwmrPages=FirstPage ";
const std::string kPIN = "-o VXJobRetentionOption=VXJobRetentionPrivate -o VXUsePINToPrint=True "
                         "-o VXPinToPrintExtended=4711 ";
const std::string kCustomSize = "-o media=Custom.720x1080 -o PPDVersion=1.0 -o Product=7300vq ";

/// An image whose left half is black, of the shape of a sheet.
std::string MakePicture(const ATemporaryFolder& inFolder)
{
    const std::string picture = inFolder.GetPath("picture.png");
    const std::string command =
        "gs -q -dSAFER -sDEVICE=pnggray -r72 -g210x297 -o " + picture + " -c '0 0 105 297 rectfill showpage'";
    EXPECT_EQ(std::system(command.c_str()), 0);
    return picture;
}

/// A document with a page of noise, which stays too long for the pipes between the filters whatever they make of it.
std::string MakeLongDocument(const ATemporaryFolder& inFolder)
{
    constexpr int kSize = 1000;
    constexpr const char* kDigits = "0123456789abcdef";
    std::mt19937 noise(1);
    std::string data;
    for (int i = 0; i < kSize * kSize; ++i)
    {
        const auto value = noise();
        data.append({kDigits[value % 16], kDigits[value / 16 % 16]}).append(i % 40 == 39 ? "\n" : "");
    }
    return inFolder.Write("long.ps",
                          "%!PS-Adobe-3.0\n%%Pages: 1\n%%EndComments\n%%BeginProlog\n%%EndProlog\n%%BeginSetup\n"
                          "%%EndSetup\n%%Page: 1 1\n/line 1000 string def 500 500 scale 1000 1000 8 "
                          "[1000 0 0 1000 0 0] {currentfile line readhexstring pop} image\n" +
                              data + "\nshowpage\n%%Trailer\n%%EOF\n");
}

/// Every job of a test must have ended well, and nothing may be left of it.
class Server : public testing::Test
{
protected:
    /// What the printer got of a job; none when it does not end as completed.
    std::vector<ASide> WaitForPaper(int inJob)
    {
        EXPECT_EQ(fServer.WaitForEnd(inJob), IPP_JSTATE_COMPLETED) << "job " << inJob;
        return std::filesystem::exists(fServer.GetPath(inJob)) ? ReadSides(fServer.GetPath(inJob))
                                                               : std::vector<ASide>();
    }

    std::string MakeDocument(const std::string& inKind) const
    {
        const int pages = std::stoi(inKind.substr(inKind.find(' ')));
        return inKind.starts_with("ps") ? MakeNumberedPostScript(fFolder, pages) : MakeNumberedPDF(fFolder, pages);
    }

    static void CheckPart(const std::string& inWanted, const std::vector<ASide>& inSides, const std::string& inText)
    {
        const std::string kind = inWanted.substr(0, inWanted.find(' '));
        const std::string value = inWanted.substr(inWanted.find(' ') + 1);
        if (kind == "holds")
        {
            EXPECT_NE(inText.find(value), std::string::npos) << value;
        }
        else if (kind == "device")
        {
            EXPECT_THAT(inSides, testing::Each(testing::Field(&ASide::fDevice, HasSubstr(value))));
        }
        else
        {
            const bool isNamed = kind == "trays" || kind == "duplex" || kind == "colours";
            const auto show = kind == "trays"     ? ShowTrays
                              : kind == "duplex"  ? ShowDuplex
                              : kind == "colours" ? ShowColours
                                                  : ShowSides;
            EXPECT_EQ(show(inSides), isNamed ? value : inWanted);
        }
    }

    void Check(const AJob& inJob, int inNumber)
    {
        SCOPED_TRACE("lp -d " + inJob.fQueue + " " + inJob.fArguments + inJob.fDocument);
        const std::vector<ASide> sides = WaitForPaper(inNumber);
        const std::string text = ReadFile(fServer.GetPath(inNumber));
        const std::string& wanted = inJob.fWanted;
        for (std::size_t at = 0, end = 0; end < wanted.size(); at = end + 3)
        {
            end = std::min(wanted.find(" | ", at), wanted.size());
            CheckPart(wanted.substr(at, end - at), sides, text);
        }
    }

    /// Prints all jobs, one behind the other on each queue, and checks each.
    void PrintAll(const std::vector<AJob>& inJobs)
    {
        std::vector<int> numbers;
        for (const AJob& job : inJobs)
        {
            numbers.push_back(fServer.Print(job.fQueue, job.fArguments + " " + MakeDocument(job.fDocument)));
        }
        for (std::size_t i = 0; i < inJobs.size(); ++i)
        {
            Check(inJobs[i], numbers[i]);
        }
    }

    void TearDown() override
    {
        const std::string log = fServer.GetLog();
        EXPECT_EQ(log.find("stopped with status"), std::string::npos);
        EXPECT_EQ(log.find("crashed"), std::string::npos);
        EXPECT_EQ(fServer.GetLeftovers(), "");
    }

    ATemporaryFolder fFolder;
    APrintServer fServer;
};

/// What the filters in front of ours do already, by a way of their own for each kind of document.
std::vector<AJob> MakeJobsThatOthersChange(const std::string& inDocument)
{
    const std::string faceUp = "-o VXFaceOrientation=FaceUp ";
    const std::string reversed = "-o OutputOrder=Reverse ";
    const std::string collated = "-o collate=true -P 1-2 -n 2 ";
    return {
        {"office", inDocument, reversed, "5 4 3 2 1"},
        {"manual", inDocument, "-o outputorder=reverse", "5 4 3 2 1"},
        {"wide", inDocument, reversed, "1 2 3 4 5"},
        {"office", inDocument, faceUp + "-P 1-3", "3 2 1"},
        {"manual", inDocument, "-o VXStraightPaperPath=True -P 1-3", "3 2 1"},
        {"office", inDocument, "-o VXStaplerOptions=LowerLeft -P 1-3", "3 2 1"},
        {"office", inDocument, faceUp + "-o sides=two-sided-long-edge", "5 B 3 4 1 2"},
        {"office", inDocument, reversed + "-P 2-4", "4 3 2"},
        {"veldra", inDocument, "-o page-set=even", "2 4"},
        {"office", inDocument, reversed + "-o number-up=2", "5< 3<+4< 1<+2<"},
        {"veldra", inDocument, "-o mirror -P 1", "1m"},
        {"manual", inDocument, "-o MirrorPrint=True -P 1", "1m"},
        {"office", inDocument, collated, "1 2 | holds << /Collate true >> | device copies=2"},
        {"manual", inDocument, collated, "1 2 1 2 | device copies=1"},
        {"wide", inDocument, collated, "2 1 2 1 | device copies=1"},
        {"manual", inDocument, "-n 2 -o collate=false -P 1-2", "1 2 | device copies=2"},
        {"office", inDocument, "-o VXRotate180=True -P 1", "1v"},
        {"office", inDocument, kBooklet + reversed + "-P 1-4", "4<+1< 2<+3<"},
        {"office", inDocument, "-o media=A3 -o fit-to-page -P 1", "1 | device size=842x1191"},
        {"office", inDocument, "-o InputSlot=Tray2 -P 1", "1 | trays 1"},
    };
}

} // namespace

TEST_F(Server, PrintsDocumentsOfEveryKind)
{
    const int pdf = fServer.Print("office", MakeNumberedPDF(fFolder, 3));
    const int postScript = fServer.Print("manual", MakeNumberedPostScript(fFolder, 3));
    const int image = fServer.Print("wide", "-o fit-to-page " + MakePicture(fFolder));
    const int text = fServer.Print("veldra", fFolder.Write("letter.txt", "Dear reader\n\fThe second page\n"));
    EXPECT_EQ(ShowSides(WaitForPaper(pdf)), "1 2 3");
    EXPECT_EQ(ShowSides(WaitForPaper(postScript)), "1 2 3");
    const std::vector<ASide> picture = WaitForPaper(image);
    ASSERT_EQ(picture.size(), 1);
    EXPECT_NEAR(picture[0].fInk, 0.45, 0.06) << "half of it is black";
    const std::vector<ASide> letter = WaitForPaper(text);
    ASSERT_EQ(letter.size(), 2);
    // The letters of its font have no names that could be read back.
    EXPECT_EQ(letter[0].fWords.size(), 2);
    EXPECT_EQ(letter[1].fWords.size(), 3);
}

TEST_F(Server, BringsEachFeatureToPaper)
{
    PrintAll({
        {"office", "pdf 2", "-o PMPageOrientation=2", "1 2 | holds << /VXContentOrientation 1 >>"},
        {"office", "pdf 3", kFirstFromTray2 + "-o sides=two-sided-long-edge", "1 2 3 | trays 1 1 0"},
        {"office", "pdf 2", kPIN, "1 2 | holds /HoldKey (4711) | holds %%BeginFeature: *Collate True\n"},
        {"office", "pdf 1", kPIN + "-o VXUserName=Set -o VXCustomUserName=Anna", "1 | holds /UserName (Anna)"},
        {"office", "pdf 1", "-U anna -o VXDepartmentID=42", "1 | holds (anna) | holds (42)"},
        {"veldra", "pdf 1", "-t Letter -o VXJobAccounting=True", "1 | holds (Letter)"},
        {"office", "pdf 5", kBooklet, "1< 2< 3< 4<+5< | duplex short short short short"},
        {"manual", "pdf 3", kWithGuide, "G B 2v 1 3 G | trays none none none manual manual manual"},
        {"office", "pdf 3", kFirstMarked, "1 2 3 | colours colour gray gray"},
        {"office", "pdf 1", "-o VXImageShiftFront=True -o VXImageShiftFrontX=25.4 -o VXImageShiftFrontY=-12.7",
         "1 | holds << /PageOffset [ 72.000001 -36.000001 ] >>"},
        {"office", "pdf 1", "-o VXZone2Limit=60", "1 | holds << /VXMidtoneLimit 60 >>"},
        {"veldra", "pdf 1", "-o VXCyanBrightness=15", "1 | holds << /VXCyanBrightness 15 >>"},
        {"wide", "pdf 2", kCustomSize, "2 1 | holds \n720 1080 1 0 0\n | device size=720x1080"},
        {"office", "pdf 1", "-o VXCustomMediaTypeID=12", "1 | holds << /MediaType (Custom12) >>"},
        {"wide", "pdf 1", "-o media=A4.Fullbleed", "1 | holds << /VXMarginsLayout (Oversize) >>"},
        {"office", "pdf 3", "-o sides=two-sided-short-edge", "1 2 3 | duplex short short one"},
        {"office", "pdf 2", "-o MirrorPrint=True", "1m 2m"},
        {"veldra", "pdf 1", "-o VXHoldJob=True", "1 | holds HoldPrint"},
        {"wide", "pdf 3", "", "3 2 1"},
    });
}

TEST_F(Server, BringsFeaturesTogether)
{
    PrintAll({
        {"office", "pdf 8", kBooklet + kMark + kPIN,
         "8<+1< 2<+7< 6<+3< 4<+5< | holds /HoldKey (4711) | duplex short short short short"
         " | colours colour colour colour colour"},
        {"office", "ps 3", kFirstFromTray2 + "-o sides=two-sided-long-edge -n 2 -o collate=true",
         "1 2 3 | holds << /Collate true >> | trays 1 1 0 | duplex long long one | device copies=2"},
        {"manual", "pdf 3", kFirstFromTray2 + "-o MirrorPrint=True -n 2 -o collate=true",
         "1m 2m 3m 1m 2m 3m | trays 1 0 0 1 0 0 | device copies=1"},
        {"office", "pdf 3", "-o OutputOrder=Reverse -U anna", "3 2 1 | holds (anna)"},
        {"manual", "ps 3", kWithGuide + "-n 2 -o collate=true", "G B 2v B 2v 1 3 1 3 G"},
        {"office", "ps 4", kMark + "-o number-up=2", "1<+2< 3<+4< | colours colour colour"},
        {"wide", "ps 3", kFirstMarked, "3 2 1 | colours gray gray colour"},
        {"office", "pdf 8", kBooklet + "-o job-sheets=standard,none", "G 8<+1< 2<+7< 6<+3< 4<+5<"},
    });
}

TEST_F(Server, LeavesToOthersWhatTheyHaveDoneToPDF)
{
    PrintAll(MakeJobsThatOthersChange("pdf 5"));
}

TEST_F(Server, LeavesToOthersWhatTheyHaveDoneToPostScript)
{
    PrintAll(MakeJobsThatOthersChange("ps 5"));
}

TEST_F(Server, AddsTheDefaultsOfTheQueueToAJob)
{
    ASSERT_TRUE(fServer.Run("lpadmin -p manual -o VXManualDuplexSupport-default=True -o VXBookletFilter-default=True"));
    PrintAll({{"manual", "pdf 8", "", "4<+5< 2<+7< 8<+1< 6<+3< | trays none none manual manual"}});
}

TEST_F(Server, PrintsFiftyJobsAtOnce)
{
    // Half of the jobs are booklets, which are kept in temporary files and converted.
    const std::vector<AJob> kinds = {
        {"office", "ps 3", kBooklet, "1< 2<+3<"},
        {"manual", "ps 2", kBooklet, "1< 2<"},
        {"veldra", "pdf 3", "", "1 2 3"},
        {"manual", "ps 1", "", "1"},
        {"wide", "pdf 2", "", "2 1"},
        {"office", "pdf 4", kBooklet, "4<+1< 2<+3<"},
    };
    std::vector<int> numbers;
    for (std::size_t i = 0; i < 50; ++i)
    {
        const AJob& kind = kinds[i % kinds.size()];
        const std::string title = "-t document-" + std::to_string(i) + "- ";
        numbers.push_back(fServer.Print(kind.fQueue, title + kind.fArguments + " " + MakeDocument(kind.fDocument)));
    }
    for (std::size_t i = 0; i < numbers.size(); ++i)
    {
        ASSERT_EQ(fServer.WaitForEnd(numbers[i]), IPP_JSTATE_COMPLETED);
        const std::string job = ReadFile(fServer.GetPath(numbers[i]));
        EXPECT_NE(job.find("document-" + std::to_string(i) + "-"), std::string::npos) << "not the document " << i;
        EXPECT_TRUE(job.ends_with("%%EOF\n\x04")) << i;
    }
    for (std::size_t i = 42; i < 42 + kinds.size(); ++i)
    {
        Check(kinds[i % kinds.size()], numbers[i]);
    }
}

TEST_F(Server, CancelsAJobInTheMiddle)
{
    const std::string document = MakeLongDocument(fFolder);
    for (const char* option : {"", "-o VXBookletFilter=True "})
    {
        const int job = fServer.Print("slow-office", option + document);
        ASSERT_TRUE(fServer.WaitForLog("job " + std::to_string(job) + " waits at the gate"));
        ASSERT_THAT(fServer.GetLog(), Not(HasSubstr("vxpostprocessing) exited"))) << "the job is too short";
        ASSERT_TRUE(fServer.Run("cancel " + std::to_string(job)));
        EXPECT_EQ(fServer.WaitForEnd(job), IPP_JSTATE_CANCELED);
        EXPECT_FALSE(std::filesystem::exists(fServer.GetPath(job)));
    }
    const int next = fServer.Print("slow-office", MakeNumberedPDF(fFolder, 2));
    fServer.OpenGate();
    EXPECT_EQ(ShowSides(WaitForPaper(next)), "1 2");
}

TEST_F(Server, KeepsJobsWhenItIsRestarted)
{
    const std::string document = MakeNumberedPDF(fFolder, 4);
    const int held = fServer.Print("office", "-H hold -o VXBookletFilter=True " + document);
    const int printing = fServer.Print("slow-office", "-o OutputOrder=Reverse " + document);
    ASSERT_TRUE(fServer.WaitForLog("job " + std::to_string(printing) + " waits at the gate"));
    fServer.Restart();
    fServer.OpenGate();
    EXPECT_EQ(ShowSides(WaitForPaper(printing)), "4 3 2 1");
    EXPECT_FALSE(std::filesystem::exists(fServer.GetPath(held)));
    ASSERT_TRUE(fServer.Run("lp -i " + std::to_string(held) + " -H resume"));
    EXPECT_EQ(ShowBooklet(WaitForPaper(held)), "4 1 | 2 3");
}

TEST(OldServer, SwitchesToTheProtocolOfThePrinter)
{
    const ATemporaryFolder folder;
    const std::map<std::string, std::string> environment = {{"VX_SYSTEM_VERSION", "10.3.9"}};
    const APrintServer server(environment);
    const int job = server.Print("veldra", MakeNumberedPDF(folder, 1));
    EXPECT_EQ(server.WaitForEnd(job), IPP_JSTATE_COMPLETED);
    EXPECT_THAT(ReadFile(server.GetPath(job)), testing::StartsWith("\x01M%!PS-Adobe"));
}
