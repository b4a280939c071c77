#include <gtest/gtest.h>

#include "TestSupport.h"

namespace
{

constexpr const char* kSlots = R"(*MirrorPrint True/On: ""
*OpenUI *InputSlot: PickOne
*DefaultInputSlot: Plain
*InputSlot Letterhead/First: "letterhead code"
*InputSlot Plain/Rest: "plain code"
*CloseUI: *InputSlot
)";
constexpr const char* kFromBoth = "AP_FIRSTPAGE_InputSlot=Letterhead InputSlot=Plain ";

AFilterRun FeedRun(const std::string& inOptions, int inPages)
{
    return {.fOptions = kFromBoth + inOptions, .fJob = MakeJob(inPages), .fPPD = MakePPD(kSlots)};
}

/// What each page of a job is fed from: F first-page source, R remaining-pages source, - nothing stated.
std::string ListFeeds(const std::string& inOutput)
{
    std::string feeds;
    std::size_t at = inOutput.find("%%Page: ");
    while (at != std::string::npos)
    {
        const std::size_t next = inOutput.find("%%Page: ", at + 1);
        const std::string page = inOutput.substr(at, next - at);
        const bool isFirst = page.find("letterhead code") != std::string::npos;
        const bool isRest = page.find("plain code") != std::string::npos;
        feeds += isFirst ? 'F' : isRest ? 'R' : '-';
        at = next;
    }
    return feeds;
}

} // namespace

TEST(PaperFeed, EachCopyStartsFromTheFirstPagesSource)
{
    const std::string duplex = "sides=two-sided-long-edge ";
    const std::string byHand = "VXManualDuplexSupport=True VXManualDuplexSwitch=True ";
    const std::string guide = "VXManualDuplexPrintGuide=True ";
    const std::string collate = "collate=True ";
    struct
    {
        std::string fOptions;
        const char* fCopies;
        int fPages;
        const char* fFeeds;
    } const cases[] = {
        {"MirrorPrint=True", "1", 3, "FR-"},
        {"MirrorPrint=True", "1", 1, "F"},
        {"MirrorPrint=True", "2", 6, "FR----"},
        {collate + "MirrorPrint=True", "2", 6, "FR-FR-"},
        {collate + "MirrorPrint=True", "3", 3, "FFF"},
        // No two equal copies: one document.
        {collate + "MirrorPrint=True", "2", 5, "FR---"},
        // The back of the first sheet comes from where its front came from.
        {duplex, "1", 5, "F-R--"},
        {collate + duplex, "2", 8, "F-R-F-R-"},
        {collate + duplex, "2", 4, "F-F-"},
        // Two passes, the fronts in one of them, with a guide in front of each or behind it.
        {byHand, "1", 4, "RF--"},
        {byHand + guide, "1", 4, "R-FR--"},
        {byHand + "MFPrintOnBottom=True", "1", 4, "FR--"},
        {byHand + guide + "MFPrintOnBottom=True", "1", 4, "RFR---"},
        {byHand + "BinStackOrder=Reverse MFPrintOnBottom=True", "1", 4, "RF--"},
        {byHand + guide, "1", 2, "RF--"},
    };
    for (const auto& test : cases)
    {
        AFilterRun run = FeedRun(test.fOptions, test.fPages);
        run.fCopies = test.fCopies;
        EXPECT_EQ(ListFeeds(RunFilter(run).fOutput), test.fFeeds) << test.fOptions << ", " << test.fPages << " pages";
    }
}

TEST(PaperFeed, TheSourceIsStatedRightBehindThePageComment)
{
    const std::string block = "[{\n%%BeginFeature: *InputSlot Letterhead\n\tletterhead code\n%%EndFeature\n"
                              "} stopped cleartomark\n";
    const AFilterResult duplex = RunFilter(FeedRun("sides=two-sided-long-edge", 3));
    EXPECT_EQ(Between(duplex.fOutput, "%%Page: 1 1\n", "%%BeginPageSetup"), block);
    EXPECT_TRUE(duplex.IsLogged("Insert First Page From PS command"));
    EXPECT_TRUE(duplex.IsLogged("Insert Remaining Pages From PS command"));
    const AFilterResult mirrored = RunFilter(FeedRun("MirrorPrint=True", 3));
    EXPECT_EQ(Between(mirrored.fOutput, "%%Page: 1 1\n", "%%BeginPageSetup"), "matrix VXcurrent\n" + block + "VXset\n");
}

TEST(PaperFeed, TheJobsOwnFeaturesAreEmptiedBehindTheFirstPage)
{
    const std::string feature = "%%BeginFeature: *InputSlot Plain\nits own code\n%%EndFeature\n";
    const std::string endless = "%%BeginFeature: *InputSlot Plain\nits own code\n";
    for (const char* const options : {"MirrorPrint=True", "MirrorPrint=True InputSlot=Unknown"})
    {
        AFilterRun run = FeedRun(options, 0);
        run.fJob = "%!PS-Adobe-3.0\n%%EndComments\n" + feature + "%%Page: ? ?\n" + feature +
                   "%%Page: 1 1\n%%Page: 2 2\n" + feature + "(1) show\n" + endless +
                   "%%Page: 3 3\n(2) show\n%%Trailer\n";
        const std::string output = RunFilter(run).fOutput;
        EXPECT_TRUE(output.find("%%EndComments\n" + feature) != std::string::npos) << output;
        EXPECT_EQ(Between(output, "%%Page: ? ?\n", "VXsave"), feature) << output;
        const std::string emptied = "%%BeginFeature: *InputSlot Plain\n\n%%EndFeature\n";
        EXPECT_TRUE(output.find(emptied + "(1) show\n" + emptied + "VXsave\n") != std::string::npos) << output;
    }
}

TEST(PaperFeed, OneSourceAloneIsNotStated)
{
    for (const char* const options :
         {"AP_FIRSTPAGE_InputSlot=Letterhead", "AP_FIRSTPAGE_ManualFeed=True InputSlot=Plain",
          "AP_FIRSTPAGE_InputSlot=Letterhead InputSlot=NoSuchSlot"})
    {
        AFilterRun run = FeedRun("", 3);
        run.fOptions = std::string("MirrorPrint=True ") + options;
        EXPECT_EQ(ListFeeds(RunFilter(run).fOutput), "---") << options;
    }
}

TEST(PaperFeed, ThePrinterHelpsItselfWhileNothingMovesThePages)
{
    const AFilterRun run = FeedRun("", 3);
    EXPECT_EQ(RunFilter(run).fOutput, run.fJob + "\x04");
}
