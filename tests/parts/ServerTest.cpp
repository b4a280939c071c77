// Jobs that lp sends to a print server of the test's own, through CUPS's filters and ours: what comes out on paper.

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

/// A job and what must become of it. What is empty does not matter.
struct AJob
{
    const char* fName;
    const char* fQueue;
    const char* fDocument; ///< "pdf" or "ps", and its number of pages
    const char* fArguments;
    const char* fSides;
    std::vector<const char*> fTexts = {}; ///< in the job that the printer gets
    const char* fTrays = "";
    const char* fDuplex = "";
    const char* fColours = "";
    const char* fDevice = ""; ///< of every side
};

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

    void Check(const AJob& inJob, const std::vector<ASide>& inSides, const std::string& inText)
    {
        const auto expect = [](const std::string& inFound, const std::string& inWanted)
        {
            if (!inWanted.empty())
            {
                EXPECT_EQ(inFound, inWanted);
            }
        };
        expect(ShowSides(inSides), inJob.fSides);
        expect(ShowTrays(inSides), inJob.fTrays);
        expect(ShowDuplex(inSides), inJob.fDuplex);
        expect(ShowColours(inSides), inJob.fColours);
        for (const ASide& side : inSides)
        {
            EXPECT_THAT(side.fDevice, HasSubstr(inJob.fDevice));
        }
        for (const char* text : inJob.fTexts)
        {
            EXPECT_NE(inText.find(text), std::string::npos) << text;
        }
    }

    /// Prints all jobs, one behind the other on each queue, and checks each.
    void PrintAll(const std::vector<AJob>& inJobs)
    {
        std::vector<int> numbers;
        for (const AJob& job : inJobs)
        {
            numbers.push_back(
                fServer.Print(job.fQueue, std::string(job.fArguments).append(" ").append(MakeDocument(job.fDocument))));
        }
        for (std::size_t i = 0; i < inJobs.size(); ++i)
        {
            SCOPED_TRACE(std::string(inJobs[i].fName)
                             .append(": lp -d ")
                             .append(inJobs[i].fQueue)
                             .append(" ")
                             .append(inJobs[i].fArguments));
            Check(inJobs[i], WaitForPaper(numbers[i]), ReadFile(fServer.GetPath(numbers[i])));
        }
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

/// What the filters in front of ours do already, by a way of their own for each kind of document.
std::vector<AJob> MakeJobsThatOthersChange(const char* inDocument)
{
    return {
        {"reversed", "office", inDocument, "-o OutputOrder=Reverse", "5 4 3 2 1"},
        {"reversed, lower case", "manual", inDocument, "-o outputorder=reverse", "5 4 3 2 1"},
        {"reversed, face up", "wide", inDocument, "-o OutputOrder=Reverse", "1 2 3 4 5"},
        {"face up by option", "office", inDocument, "-o VXFaceOrientation=FaceUp -P 1-3", "3 2 1"},
        {"face up by paper path", "manual", inDocument, "-o VXStraightPaperPath=True -P 1-3", "3 2 1"},
        {"face up by the staple", "office", inDocument, "-o VXStaplerOptions=LowerLeft -P 1-3", "3 2 1"},
        {"face up, two-sided", "office", inDocument, "-o VXFaceOrientation=FaceUp -o sides=two-sided-long-edge",
         "5 B 3 4 1 2"},
        {"some pages, reversed", "office", inDocument, "-P 2-4 -o OutputOrder=Reverse", "4 3 2"},
        {"even pages", "veldra", inDocument, "-o page-set=even", "2 4"},
        {"two on a side, reversed", "office", inDocument, "-o number-up=2 -o OutputOrder=Reverse", "5< 3<+4< 1<+2<"},
        {"mirrored by CUPS", "veldra", inDocument, "-o mirror -P 1", "1m"},
        {"mirrored by the filter", "manual", inDocument, "-o MirrorPrint=True -P 1", "1m"},
        {"collated by the printer",
         "office",
         inDocument,
         "-n 3 -o collate=true -P 1-2",
         "1 2",
         {"<< /Collate true >>"},
         "",
         "",
         "",
         "copies=3"},
        {"collated in front", "manual", inDocument, "-n 2 -o collate=true -P 1-2", "1 2 1 2"},
        {"collated in front, face up", "wide", inDocument, "-n 2 -o collate=true -P 1-2", "2 1 2 1"},
        {"not collated", "manual", inDocument, "-n 2 -o collate=false -P 1-2", "1 2", {}, "", "", "", "copies=2"},
        {"rotated", "office", inDocument, "-o VXRotate180=True -P 1", "1v"},
        {"a booklet is in order of its own", "office", inDocument,
         "-o VXBookletFilter=True -o VXBookletPaperSize=A4 -o OutputOrder=Reverse -P 1-4", "4<+1< 2<+3<"},
        {"fitted", "office", inDocument, "-o media=A3 -o fit-to-page -P 1", "1", {}, "", "", "", "size=842x1191"},
        {"a tray", "office", inDocument, "-o InputSlot=Tray2 -P 1", "1", {}, "1"},
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
        {"orientation", "office", "pdf 2", "-o PMPageOrientation=2", "1 2", {"<< /VXContentOrientation 1 >>"}},
        {"paper feed",
         "office",
         "pdf 3",
         "-o AP_FIRSTPAGE_InputSlot=Tray2 -o InputSlot=Tray1 -o sides=two-sided-long-edge",
         "1 2 3",
         {},
         "1 1 0"},
        {"job storage",
         "office",
         "pdf 2",
         "-o VXJobRetentionOption=VXJobRetentionPrivate -o VXUsePINToPrint=True -o VXPinToPrintExtended=4711 "
         "-o VXUserName=Set -o VXCustomUserName=Anna",
         "1 2",
         {"/HoldKey (4711)", "/UserName (Anna)", "%%BeginFeature: *Collate True\n"}},
        {"accounting, office printer", "office", "pdf 1", "-U anna -o VXDepartmentID=42", "1", {"(anna)", "(42)"}},
        {"accounting, print server",
         "veldra",
         "pdf 1",
         "-t Letter -o VXJobAccounting=True -o VXAccountID=Custom -o VXAccountIDEdit=77",
         "1",
         {"(Letter)", "(77)"}},
        {"booklet", "office", "pdf 5", "-o VXBookletFilter=True", "1< 2< 3< 4<+5<", {}, "", "short short short short"},
        {"two-sided by hand",
         "manual",
         "pdf 3",
         "-o VXManualDuplexSupport=True -o VXManualDuplexSwitch=True -o VXManualDuplexPrintGuide=True",
         "G B 2v 1 3 G",
         {},
         "none none none manual manual manual"},
        {"watermark",
         "office",
         "pdf 3",
         "-o VXwmrSwitch=Overlay -o VXwmrPages=FirstPage -o VXwmrTextColor=Red",
         "1 2 3",
         {},
         "",
         "",
         "colour gray gray"},
        {"image shift",
         "office",
         "pdf 1",
         "-o VXImageShiftFront=True -o VXImageShiftFrontX=25.4 -o VXImageShiftFrontY=-12.7",
         "1",
         {"<< /PageOffset [ 72.000001 -36.000001 ] >>"}},
        {"gray balance", "office", "pdf 1", "-o VXZone2Limit=60", "1", {"<< /VXMidtoneLimit 60 >>"}},
        {"lightness", "veldra", "pdf 1", "-o VXCyanBrightness=15", "1", {"<< /VXCyanBrightness 15 >>"}},
        {"custom page size",
         "wide",
         "pdf 2",
         "-o media=Custom.720x1080 -o PPDVersion=1.0 -o Product=7300vq",
         "2 1",
         {"\n720 1080 1 0 0\n"},
         "",
         "",
         "",
         "size=720x1080"},
        {"custom media type",
         "office",
         "pdf 1",
         "-o VXCustomMediaTypeID=12 -o VXCustomMediaTypeName=Card",
         "1",
         {"<< /MediaType (Custom12) >>"}},
        {"margin layout",
         "wide",
         "pdf 1",
         "-o media=A4.Fullbleed -o VXMarginsLayoutMode=Standard",
         "1",
         {"<< /VXMarginsLayout (Oversize) >>"}},
        {"smart duplex", "office", "pdf 3", "-o sides=two-sided-short-edge", "1 2 3", {}, "", "short short one"},
        {"mirror print", "office", "pdf 2", "-o MirrorPrint=True", "1m 2m"},
        {"hold for the preview", "veldra", "pdf 1", "-o VXHoldJob=True", "1", {"HoldPrint"}},
        {"face-up sheets", "wide", "pdf 3", "", "3 2 1"},
    });
}

TEST_F(Server, BringsFeaturesTogether)
{
    PrintAll({
        {"booklet with a watermark and a PIN",
         "office",
         "pdf 8",
         "-o VXBookletFilter=True -o VXBookletPaperSize=A4 -o VXwmrSwitch=Overlay -o VXwmrTextColor=Red "
         "-o VXJobRetentionOption=VXJobRetentionPrivate -o VXUsePINToPrint=True -o VXPinToPrintExtended=4711",
         "8<+1< 2<+7< 6<+3< 4<+5<",
         {"/HoldKey (4711)"},
         "",
         "short short short short",
         "colour colour colour colour"},
        {"two-sided, odd, first page from another tray, collated by the printer",
         "office",
         "ps 3",
         "-o sides=two-sided-long-edge -o AP_FIRSTPAGE_InputSlot=Tray2 -o InputSlot=Tray1 -n 2 -o collate=true",
         "1 2 3",
         {"<< /Collate true >>"},
         "1 1 0",
         "long long one",
         "",
         "copies=2"},
        {"first page from another tray, collated in front of the filter",
         "manual",
         "pdf 3",
         "-o MirrorPrint=True -o AP_FIRSTPAGE_InputSlot=Tray2 -o InputSlot=Tray1 -n 2 -o collate=true",
         "1m 2m 3m 1m 2m 3m",
         {},
         "1 0 0 1 0 0",
         "",
         "",
         "copies=1"},
        {"reversed with accounting",
         "office",
         "pdf 3",
         "-U anna -o OutputOrder=Reverse -o VXDepartmentID=42",
         "3 2 1",
         {"(anna)", "(42)"}},
        {"two copies by hand with guides", "manual", "ps 3",
         "-o VXManualDuplexSupport=True -o VXManualDuplexSwitch=True -o VXManualDuplexPrintGuide=True -n 2 "
         "-o collate=true",
         "G B 2v B 2v 1 3 1 3 G"},
        {"a watermark over two pages on a side",
         "office",
         "ps 4",
         "-o number-up=2 -o VXwmrSwitch=Overlay -o VXwmrTextColor=Red",
         "1<+2< 3<+4<",
         {},
         "",
         "",
         "colour colour"},
        {"the first page is marked wherever it comes",
         "wide",
         "ps 3",
         "-o VXwmrSwitch=Watermark -o VXwmrTextColor=Red -o VXwmrPages=FirstPage",
         "3 2 1",
         {},
         "",
         "",
         "gray gray colour"},
        {"a banner in front of a booklet", "office", "pdf 8",
         "-o VXBookletFilter=True -o VXBookletPaperSize=A4 -o job-sheets=standard,none", "G 8<+1< 2<+7< 6<+3< 4<+5<"},
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

TEST_F(Server, PrintsFiftyJobsAtOnce)
{
    // Half of the jobs are booklets, which are kept in temporary files and converted.
    const std::vector<AJob> kinds = {
        {"", "office", "ps 3", "-o VXBookletFilter=True", "1< 2<+3<"},
        {"", "manual", "ps 2", "-o VXBookletFilter=True -o VXManualDuplexSupport=True", "2< 1<"},
        {"", "veldra", "pdf 3", "", "1 2 3"},
        {"", "manual", "ps 1", "", "1"},
        {"", "wide", "pdf 2", "", "2 1"},
        {"", "office", "pdf 4", "-o VXBookletFilter=True", "4<+1< 2<+3<"},
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
    for (std::size_t i = 0; i < kinds.size(); ++i)
    {
        Check(kinds[i], ReadSides(fServer.GetPath(numbers[42 + i])), "");
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

TEST_F(Server, AddsTheDefaultsOfTheQueueToAJob)
{
    ASSERT_TRUE(fServer.Run("lpadmin -p manual -o VXManualDuplexSupport-default=True -o VXBookletFilter-default=True"));
    PrintAll({{"booklet by hand",
               "manual",
               "pdf 8",
               "-o VXBookletPaperSize=A4",
               "4<+5< 2<+7< 8<+1< 6<+3<",
               {},
               "none none manual manual"}});
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
