#include <sstream>

#include <gtest/gtest.h>

#include "PageText.h"
#include "StandIns.h"
#include "TestSupport.h"

namespace
{

constexpr const char* kTwoSided = "sides=two-sided-long-edge";

AFilterRun NativeRun(const std::string& inJob, const std::string& inServerBin = "")
{
    return {.fOptions = kTwoSided,
            .fJob = inJob,
            .fPPD = MakePPD(""),
            .fEnvironment = {{"CONTENT_TYPE", "application/postscript"}, {"CUPS_SERVERBIN", inServerBin}}};
}

/// The whole job in its old order, with no feature in it, as when nothing could be done.
void ExpectPassedThrough(AFilterRun inRun, const std::string& inWhy)
{
    inRun.fOptions += " MirrorPrint";
    inRun.fPPD = MakePPD("*MirrorPrint True: \"\"\n");
    for (const bool fromFile : {false, true})
    {
        inRun.fFromFile = fromFile;
        const AFilterResult result = RunFilter(inRun);
        EXPECT_TRUE(result.fOutput == inRun.fJob + "\x04") << inWhy << ": " << result.fOutput.size();
        EXPECT_EQ(result.fStatus, 0) << inWhy;
        EXPECT_TRUE(result.IsLogged("DEBUG: Normalization was not successful")) << inWhy;
        EXPECT_TRUE(result.IsLogged("DEBUG: Reordering failed. Switching to pass-through mode")) << inWhy;
    }
}

/// A job that draws, in the fonts every interpreter has, with a page size of its own.
std::string MakeDrawing(int inPages, const std::string& inSetup)
{
    std::string job = MakeJob(inPages, inSetup);
    for (int page = 1; page <= inPages; ++page)
    {
        const std::string drawn = "(page " + std::to_string(page) + ") show";
        job = Replace(job, drawn, "/Helvetica findfont 40 scalefont setfont 72 200 moveto " + drawn);
    }
    return job;
}

/// The words on each page of a job, as Ghostscript finds them when it draws the job.
std::string ReadDrawn(const std::string& inJob)
{
    std::istringstream drawn(RunGhostscript("-dSAFER -sDEVICE=txtwrite -o -", inJob));
    std::string words;
    for (std::string word; drawn >> word;)
    {
        words.append(words.empty() ? "" : " ").append(word);
    }
    return words;
}

} // namespace

TEST(Normalizer, TheSystemsOwnFiltersKeepEveryPageAndItsSize)
{
    const std::string copies = "%RBIBeginNonPPDFeature: *NumCopies 3\n<</NumCopies 3>>setpagedevice\n"
                               "%RBIEndNonPPDFeature\n";
    const std::string size = "%%BeginFeature: *PageSize Letter\n<</PageSize[300 400]>>setpagedevice\n%%EndFeature\n";
    AFilterRun run = NativeRun(MakeDrawing(4, size + copies));
    run.fOptions += " number-up=2 page-ranges=2-3 page-set=odd OutputOrder=Reverse mirror page-label=x copies=3";
    const AFilterResult result = RunFilter(run);
    EXPECT_EQ(result.fStatus, 0);
    ASSERT_TRUE(result.IsLogged("Normalization was successful")) << result.fLog;
    EXPECT_EQ(CountOf(result.fOutput, "\n%%Page: "), 4);
    EXPECT_EQ(CountOf(result.fOutput, "NumCopies 3>>"), 1);
    EXPECT_EQ(Between(result.fOutput, "%RBIBegin", "%RBIEnd"), Between(copies, "%RBIBegin", "%RBIEnd"));
    EXPECT_NE(result.fOutput.find("300 400"), std::string::npos);
    // Turned round once, by the filter itself.
    EXPECT_EQ(ReadDrawn(Replace(result.fOutput, "<</NumCopies 3>>setpagedevice", "")), "page 4 page 3 page 2 page 1");
}

TEST(Normalizer, OnlyTheFilterItselfSpeaksToCUPS)
{
    const AStandIns standIns("echo 'PAGE: 1 1' >&2; printf 'ERROR: bad\\rSTATE: x\\nATTR: y' >&2; cat");
    const AFilterResult result = RunFilter(NativeRun(MakeJob(2), standIns.GetPath()));
    for (const std::string line : {"PAGE: 1 1", "ERROR: bad", "STATE: x", "ATTR: y"})
    {
        EXPECT_TRUE(result.IsLogged("DEBUG: " + line)) << line;
        EXPECT_EQ(CountOf(result.fLog, line), 1) << line;
    }
}

TEST(Normalizer, WhateverFailsTheJobComesOutWhole)
{
    const AStandIns failsFirst("cat; exit 1");
    const AStandIns failsSecond("cat", "cat \"$6\"; exit 1");
    const AStandIns emptyFirst("cat >/dev/null");
    const AStandIns emptySecond("cat", ":");
    const AStandIns killed("kill -9 $$");
    const AStandIns noRoom("dd if=/dev/zero bs=1000 count=4000 2>/dev/null; exit 0");
    const std::string copies = "%RBIBeginNonPPDFeature: *NumCopies 2\ncode\n%RBIEndNonPPDFeature\n";
    for (const std::string& job : {MakeJob(5000), MakeJob(2, copies), std::string("%!PS")})
    {
        ExpectPassedThrough(NativeRun(job, failsFirst.GetPath()), "first conversion fails");
        ExpectPassedThrough(NativeRun(job, failsSecond.GetPath()), "second conversion fails");
        ExpectPassedThrough(NativeRun(job, emptyFirst.GetPath()), "first conversion has no result");
        ExpectPassedThrough(NativeRun(job, emptySecond.GetPath()), "second conversion has no result");
        ExpectPassedThrough(NativeRun(job, killed.GetPath()), "conversion is killed");
        ExpectPassedThrough(NativeRun(job, "/nonexistent"), "no such program");
        AFilterRun full = NativeRun(job, noRoom.GetPath());
        full.fFileSizeLimit = 3000000;
        ExpectPassedThrough(full, "no room for the result");
    }
}

TEST(Normalizer, TheConversionsCleanAndDoNothingElse)
{
    const std::string report = R"(
printf '%s|' "$@" >>"$CUPS_SERVERBIN/arguments"; echo >>"$CUPS_SERVERBIN/arguments"
echo "PPD=$PPD" >>"$CUPS_SERVERBIN/environment"; )";
    const AStandIns standIns(report + "cat", report + "cat \"$6\"");
    AFilterRun run = NativeRun(MakeJob(2), standIns.GetPath());
    run.fOptions = "number-up=4 media=Letter landscape fit-to-page sides=two-sided-long-edge mirror "
                   "pdftops-renderer=pdftops orientation-requested=4";
    run.fCopies = "7";
    run.fTitle = "a 'title'";
    EXPECT_EQ(RunFilter(run).fStatus, 0);
    const std::string arguments = "1|user|a 'title'|1|media=Letter pdftops-renderer=pdftops|";
    EXPECT_EQ(Between(standIns.Read("arguments"), arguments + "\n" + arguments + "/dev/fd/", "|"),
              Between(standIns.Read("arguments"), "/dev/fd/", "|"))
        << standIns.Read("arguments");
    EXPECT_EQ(standIns.Read("environment"), "PPD=\nPPD=\n");
}

TEST(Normalizer, WithoutOptionsTheSizeIsThePrintersDefault)
{
    const AStandIns standIns("echo \"$5\" >\"$CUPS_SERVERBIN/options\"; cat");
    EXPECT_EQ(RunFilter(NativeRun(MakeJob(2), standIns.GetPath())).fStatus, 0);
    EXPECT_EQ(standIns.Read("options"), "media=A4\n");
}

TEST(Normalizer, NothingIsLeftBehind)
{
    const AStandIns standIns("ls \"$TMPDIR\" >\"$CUPS_SERVERBIN/files\"; cat; kill -KILL $PPID");
    const AFilterResult result = RunFilter(NativeRun(MakeJob(2), standIns.GetPath()));
    EXPECT_EQ(result.fStatus, 128 + SIGKILL);
    EXPECT_EQ(standIns.Read("files"), "");
}
