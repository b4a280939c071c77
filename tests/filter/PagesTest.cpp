#include <algorithm>

#include <gtest/gtest.h>

#include "PageText.h"
#include "StandIns.h"
#include "TestSupport.h"

namespace
{

constexpr const char* kFaceUp = "*DefaultVXFaceOrientation: FaceUp\n";
constexpr const char* kByHand = "VXManualDuplexSupport=True VXManualDuplexSwitch=True ";
constexpr const char* kBooklet = "*VXBookletFilter: True\n";
constexpr const char* kHead = "%!PS-Adobe-3.0\n%%EndComments\n%%EndSetup\n";
constexpr const char* kTrailer = "%%Trailer\n%%EOF\n";

/// Output that lands face up comes last page first: the plainest way to have pages moved.
AFilterRun ReverseRun(std::string inJob)
{
    return {.fOptions = "", .fJob = std::move(inJob), .fPPD = MakeSimplexPPD(kFaceUp)};
}

std::string Reverse(const std::string& inJob)
{
    const AFilterResult result = RunFilter(ReverseRun(inJob));
    EXPECT_EQ(result.fStatus, 0);
    return result.fOutput;
}

std::string Page(int inNumber, int inText, const std::string& inMore = "")
{
    const std::string number = std::to_string(inNumber);
    return "%%Page: " + number + " " + number + "\n(page " + std::to_string(inText) + ") show\nshowpage\n" + inMore;
}

std::string Page(int inNumber)
{
    return Page(inNumber, inNumber);
}

/// What becomes of two pages between a head and some ends.
std::string ReverseTwo(const std::string& inFirstText, const std::string& inEnd)
{
    return Reverse(kHead + Page(1, 1, inFirstText) + Page(2) + inEnd);
}

/// The two pages in their new order.
std::string Turned(const std::string& inFirstText, const std::string& inEnd)
{
    return kHead + Page(1, 2) + Page(2, 1, inFirstText) + inEnd;
}

/// An application's own job, with conversions that leave it as it is.
AFilterResult RunNative(const std::string& inJob, const std::string& inOptions, const std::string& inPPD,
                        const std::string& inCopies = "1")
{
    const AStandIns standIns;
    return RunFilter(
        {.fOptions = inOptions,
         .fJob = inJob,
         .fPPD = inPPD,
         .fEnvironment = {{"CONTENT_TYPE", "application/postscript"}, {"CUPS_SERVERBIN", standIns.GetPath()}},
         .fCopies = inCopies});
}

constexpr const char* kTwoSided = "sides=two-sided-long-edge";

std::string ArrangeCopies(int inPages, const std::string& inOptions, const std::string& inPPD, const char* inCopies)
{
    return ShowPages(
        RunFilter({.fOptions = inOptions, .fJob = MakeJob(inPages), .fPPD = inPPD, .fCopies = inCopies}).fOutput);
}

} // namespace

TEST(Pages, MoveWholeAndAreNumberedAnew)
{
    EXPECT_EQ(ShowPages(Reverse(MakeJob(40)).substr(0, 400)), "40 39 38 37");
}

TEST(Pages, EveryEndOfAJobIsAnEnd)
{
    const std::string whole = std::string(kTrailer) + "\x04";
    EXPECT_EQ(ReverseTwo("", kTrailer), Turned("", whole));
    EXPECT_EQ(ReverseTwo("", std::string(kTrailer) + "\x04"), Turned("", whole)) << "end-of-job byte";
    EXPECT_EQ(ReverseTwo("", "%%EOF\n"), Turned("", whole)) << "missing trailer";
    EXPECT_EQ(ReverseTwo("", ""), Turned("", "\x04")) << "missing end";
    EXPECT_EQ(ReverseTwo("", "\x04"), Turned("", "\x04")) << "end-of-job byte right behind a page";
    EXPECT_EQ(ReverseTwo("", "last words"), kHead + Page(1, 2, "last words\n") + Page(2, 1, "\x04")) << "no line end";
    EXPECT_EQ(ReverseTwo("", "last words\x04"), kHead + Page(1, 2, "last words\n") + Page(2, 1, "\x04"));
    EXPECT_EQ(ReverseTwo("", "last words\x04\n\x04"), kHead + Page(1, 2, "last words\n") + Page(2, 1, "\x04"));
    EXPECT_EQ(ReverseTwo("", "%%Trailer"), Turned("", "%%Trailer\x04")) << "no line end behind the trailer";
    EXPECT_EQ(ReverseTwo("", std::string(kTrailer) + "more\n" + kTrailer), Turned("", whole)) << "two trailers";
    EXPECT_EQ(Reverse(kHead + Page(1) + kTrailer + Page(2) + kTrailer), Turned("", whole)) << "a page behind a trailer";
}

TEST(Pages, OnlyTheStartOfALineOfTheJobItselfIsABoundary)
{
    const std::string whole = std::string(kTrailer) + "\x04";
    const std::string document = "%%BeginDocument: inner\n%!PS-Adobe-3.0 EPSF-3.0\n%%Page: 9 9\n%%Trailer\n%%EOF\n";
    const std::string end = "%%EndDocument\n";
    for (const std::string& text :
         {document + end, document + document + end + "%%Page: 8 8\n" + end, end + document + end,
          std::string("%!PS-Adobe-3.0 EPSF-3.0\n%%Page: 9 9\n%%Trailer\n%%EOF\n"),
          std::string("(%%Trailer) show\n %%Page: 9 9\n/x (%%EOF) def\n")})
    {
        EXPECT_EQ(ReverseTwo(text, kTrailer), Turned(text, whole));
    }
}

TEST(Pages, LongLinesMoveWhole)
{
    const std::string whole = std::string(kTrailer) + "\x04";
    const std::string piece = std::string(8191, 'x');
    for (const std::string& text :
         {piece + "%%Page: 9 9\n", piece + piece + "%%Trailer\n", std::string(300000, 'y').append("\n")})
    {
        EXPECT_EQ(ReverseTwo(text, kTrailer), Turned(text, whole));
    }
    const std::string longComment = std::string("%%Page: 1 1 ").append(9000, 'c') + "\n";
    const std::string job = kHead + longComment + Page(1).substr(12) + Page(2) + kTrailer;
    EXPECT_EQ(Reverse(job), Turned("", whole)) << "no rest of a page comment becomes code";
}

TEST(Pages, CarriageReturnsEndLines)
{
    std::string job = kHead + Page(1) + Page(2) + kTrailer;
    std::replace(job.begin(), job.end(), '\n', '\r');
    std::string expected = Turned("", std::string(kTrailer) + "\x04");
    std::replace(expected.begin(), expected.end(), '\n', '\r');
    EXPECT_EQ(Reverse(job), Replace(Replace(expected, "1 1\r", "1 1\n"), "2 2\r", "2 2\n"));
}

TEST(Pages, AnUnclosedDocumentIsTheRestOfItsPage)
{
    const std::string job = kHead + Page(1) + "%%BeginDocument: open\n" + Page(2) + kTrailer;
    EXPECT_EQ(Reverse(job), job + "\x04");
}

TEST(Pages, AJobWithoutPagesComesOutWhole)
{
    const std::string job = std::string(kHead) + "(text) show\nshowpage\n" + kTrailer;
    for (const bool isFromFile : {false, true})
    {
        AFilterRun run = ReverseRun(job);
        run.fFromFile = isFromFile;
        EXPECT_EQ(RunFilter(run).fOutput, job + "\x04");
        run.fPPD = MakePPD("");
        run.fOptions = kTwoSided;
        EXPECT_EQ(RunFilter(run).fOutput, job + "\x04");
    }
    EXPECT_EQ(Reverse(""), "\x04");
    EXPECT_EQ(Reverse("\x04"), "\x04");
    EXPECT_EQ(Reverse("%"), "%\x04");
    EXPECT_EQ(RunNative("%!PS", kTwoSided, MakePPD("")).fOutput, "%!PS\x04");
}

TEST(Pages, WhatStaysInOrderStaysAsItIs)
{
    const std::string job = MakeJob(4, "%%BeginFeature: *Duplex DuplexNoTumble\ncode\n%%EndFeature\n");
    EXPECT_EQ(RunFilter({.fOptions = kTwoSided, .fJob = job}).fOutput, job + "\x04");
}

TEST(Pages, BlankSidesCompleteSheets)
{
    const std::string faceUp = MakePPD(kFaceUp);
    EXPECT_EQ(ArrangeCopies(5, kTwoSided, faceUp, "1"), "5 B 3 4 1 2");
    EXPECT_EQ(ArrangeCopies(5, kByHand, MakeSimplexPPD(""), "1"), "B 4 2 1 3 5");
    EXPECT_EQ(ArrangeCopies(1, kByHand, MakeSimplexPPD(""), "1"), "1");
    EXPECT_EQ(ArrangeCopies(4, std::string(kByHand) + "VXManualDuplexPrintGuide=True", MakeSimplexPPD(""), "1"),
              "G 4 2 1 3 G");
    EXPECT_EQ(ArrangeCopies(1, kTwoSided, faceUp, "1"), "1 B");
}

TEST(Pages, EachCollatedCopyHasSheetsOfItsOwn)
{
    const std::string byHand = std::string(kByHand) + "collate=true";
    const std::string simplex = MakeSimplexPPD("");
    EXPECT_EQ(ArrangeCopies(9, byHand, simplex, "3"), "B 8 B 5 B 2 1 3 4 6 7 9");
    EXPECT_EQ(ArrangeCopies(8, byHand, simplex, "2"), "8 6 4 2 1 3 5 7");
    EXPECT_EQ(ArrangeCopies(2, byHand, simplex, "2"), "1 B 2 B") << "no backs to print: one page a sheet";
    EXPECT_EQ(ArrangeCopies(5, byHand, simplex, "2"), "B 4 2 1 3 5") << "no whole copies";
    EXPECT_EQ(ArrangeCopies(5, byHand, simplex, "0"), "B 4 2 1 3 5");
}

TEST(Pages, BookletPagesComeInPairsOfOneSheetSide)
{
    const auto showSides = [](int inPages, const std::string& inOptions, const char* inCopies)
    {
        const std::string output = RunFilter({.fOptions = "VXBookletFilter=True " + inOptions,
                                              .fJob = MakeJob(inPages),
                                              .fPPD = MakePPD(kBooklet),
                                              .fCopies = inCopies})
                                       .fOutput;
        // Both pages of a side bear its number.
        std::string sides;
        for (std::size_t at = 0; (at = output.find("%%Page: ", at)) != std::string::npos; ++at)
        {
            const std::string page = output.substr(at, output.find("%%Page: ", at + 1) - at);
            sides.append(sides.empty() ? "" : " ").append(Between(page, "(page ", ")").value_or("B"));
        }
        return sides;
    };
    EXPECT_EQ(showSides(8, "", "1"), "8 1 2 7 6 3 4 5");
    EXPECT_EQ(showSides(8, "VXBookletPageOrder=Asian", "1"), "1 8 7 2 3 6 5 4");
    EXPECT_EQ(showSides(6, "VXBookletBackCover=True", "1"), "6 1 2 B B 3 4 5");
    EXPECT_EQ(showSides(8, "collate=true", "2"), "4 1 2 3 8 5 6 7");
    EXPECT_EQ(showSides(9, "collate=true", "3"), "B 1 2 3 B 4 5 6 B 7 8 9");
    EXPECT_EQ(showSides(2, "collate=true", "2"), "B 1 B B B 2 B B");
    EXPECT_EQ(showSides(5, "number-up=2", "1"), "1 2 3 4 5");
    EXPECT_EQ(showSides(4, kByHand, "1"), "2 3 4 1");
    EXPECT_EQ(showSides(1, kByHand, "1"), "B 1") << "no whole sheet";
}

TEST(NativePages, FeaturesComeBackOnceInFrontOfTheEndOfTheSetup)
{
    const std::string feature = "%%BeginFeature: *InputSlot Upper\nupper code\n%%EndFeature\n";
    const std::string copies = "%RBIBeginNonPPDFeature: *NumCopies 1\n1 setcopies\n%RBIEndNonPPDFeature\n";
    const std::string open = "%%BeginFeature: *Open End\nopen code\n";
    const std::string restored =
        "[{\n" + feature + "\n} stopped cleartomark\n" + copies + "[{\n" + open + "\n} stopped cleartomark\n";
    const std::string start = "%!PS-Adobe-3.0\n%%EndComments\n" + feature;
    const std::string end = Page(1) + Page(2) + kTrailer;
    const AFilterResult result = RunNative(start + copies + open + "%%EndSetup\n" + end, kTwoSided, MakePPD(""));
    EXPECT_EQ(result.fOutput, start + open + restored + "%%EndSetup\n" + end + "\x04");
    EXPECT_EQ(RunNative(start + copies + open + end, kTwoSided, MakePPD("")).fOutput,
              start + open + restored + end + "\x04")
        << "no setup section";
}

TEST(NativePages, FeaturesComeBackToPagesThatAreNotMoved)
{
    const std::string feature = "%%BeginFeature: *InputSlot Upper\nupper code\n%%EndFeature\n";
    const std::string start = "%!PS-Adobe-3.0\n%%EndComments\n" + feature;
    const std::string end = "%%EndSetup\n" + Page(1) + kTrailer;
    const AFilterResult result = RunNative(start + end, "VXwmrSwitch=Overlay", MakePPD("*VXwmrSwitch: \"\"\n"));
    const std::string restored = feature + "[{\n" + feature + "\n} stopped cleartomark\n";
    EXPECT_NE(result.fOutput.find(restored), std::string::npos) << result.fOutput;
}

TEST(NativePages, TheRotationIsDroppedWhereThePagesAreTurnedAlready)
{
    const std::string rotation = "%%BeginFeature: *VXRotate180 True\nrotation\n%%EndFeature\n";
    const std::string start = "%!PS-Adobe-3.0\n%%EndComments\n";
    const std::string end = "%%EndSetup\n" + Page(1) + Page(2) + kTrailer;
    const std::string options = std::string(kTwoSided) + " VXRotate180=True";
    EXPECT_EQ(RunNative(start + rotation + end, options, MakePPD("")).fOutput,
              start + "[{\n" + rotation + "\n} stopped cleartomark\n" + end + "\x04");
}

TEST(NativePages, RepeatedPagesGoWhereTheirPageGoes)
{
    const std::string job = kHead + Page(1, 1) + Page(1, 11) + Page(2, 2) + Page(3, 3) + Page(3, 33) + kTrailer;
    const AFilterResult result = RunNative(job, "", MakeSimplexPPD(kFaceUp));
    const auto repeated = [](int inNumber, int inText)
    { return Replace(Page(inNumber, inText), "\n", "(excessive)\n"); };
    EXPECT_EQ(result.fOutput,
              kHead + Page(1, 3) + repeated(3, 33) + Page(2, 2) + Page(3, 1) + repeated(1, 11) + kTrailer + "\x04");
    EXPECT_TRUE(result.IsLogged("Final number of pages = 3"));
    const std::string more = Replace(Page(9), "9 9", "x ? (excessive)");
    EXPECT_EQ(RunNative(kHead + Page(1) + more + Page(3) + kTrailer, "", MakeSimplexPPD(kFaceUp)).fOutput,
              kHead + Page(1, 3) + Page(2, 1) + more + kTrailer + "\x04")
        << "marked by its application";
    EXPECT_EQ(RunNative(kHead + Page(0) + Page(5) + kTrailer, "", MakeSimplexPPD(kFaceUp)).fOutput,
              kHead + Page(1, 5) + Page(2, 0) + kTrailer + "\x04")
        << "a first page repeats nothing";
}

TEST(NativePages, SubsetFontsGetTheirSubstitutionComment)
{
    const std::string font = "%ADOBeginSubsetFont: A\nfont\n%ADOEndSubsetFont\n";
    const AFilterResult result =
        RunNative(kHead + Page(1, 1, font + font) + Page(2) + kTrailer, kTwoSided, MakePPD(""));
    EXPECT_EQ(result.fOutput, kHead + Page(1, 1, "%%FontSubstitute:0\n" + font + "%%FontSubstitute:1\n" + font) +
                                  Page(2) + kTrailer + "\x04");
}

TEST(NativePages, ADocumentThatStatesItsCopiesHoldsOne)
{
    const std::string copies = "%RBIBeginNonPPDFeature: *NumCopies 2\n2 setcopies\n%RBIEndNonPPDFeature\n";
    const std::string job = MakeJob(6, copies);
    const std::string options = std::string(kByHand) + "collate=true";
    EXPECT_EQ(ShowPages(RunNative(job, options, MakeSimplexPPD(""), "2").fOutput), "6 4 2 1 3 5");
    const std::string two = MakeJob(6);
    EXPECT_EQ(ShowPages(RunNative(two, options, MakeSimplexPPD(""), "2").fOutput), "B 5 B 2 1 3 4 6");
    const std::string one = Replace(Replace(job, "NumCopies 2", "NumCopies 1"), "2 setcopies", "1 setcopies");
    EXPECT_EQ(ShowPages(RunNative(one, kByHand, MakeSimplexPPD(""), "2").fOutput), "B 5 B 2 1 3 4 6");
}

TEST(PagesStorage, AFullDiskIsToldBeforeAnythingIsPrinted)
{
    for (const unsigned long limit : {1UL, 20000UL, 200000UL})
    {
        AFilterRun run = ReverseRun(kHead + Page(1, 1, std::string(300000, 'x') + "\n") + Page(2) + kTrailer);
        run.fFileSizeLimit = limit;
        const AFilterResult result = RunFilter(run);
        EXPECT_EQ(result.fStatus, 1);
        EXPECT_EQ(result.fOutput, "");
        const std::size_t first = result.fLog.find("ERROR: ");
        EXPECT_EQ(limit > 10000, first != std::string::npos);
        EXPECT_EQ(result.fLog.rfind("ERROR: "), first) << "told once";
    }
}

TEST(PagesStorage, WhatCannotBeStoredIsReadWhereItIs)
{
    AFilterRun run = ReverseRun(MakeJob(3));
    // Even a user who may write everywhere cannot create files there.
    run.fEnvironment["TMPDIR"] = "/proc";
    EXPECT_EQ(ShowPages(RunFilter(run).fOutput), "3 2 1");
    run.fEnvironment["TMPDIR"] = "/nonexistent";
    EXPECT_EQ(ShowPages(RunFilter(run).fOutput), "3 2 1");
}
