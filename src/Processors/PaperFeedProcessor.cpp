#include "Processors/PaperFeedProcessor.h"

#include "Imaging/Logger.h"
#include "Imaging/PostScriptText.h"

namespace
{

constexpr std::string_view kInputSlot = "InputSlot";
constexpr std::string_view kFirstPageInputSlot = "AP_FIRSTPAGE_InputSlot";

constexpr ATask kTasks[] = {
    {"%%Page:", kAfterLine, "Insert paper feed PS command"},
    {"%%BeginFeature:", kBeforeLine, "Skip features"},
};

} // namespace

APaperFeedProcessor::APaperFeedProcessor(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    if (!IsApplicable())
    {
        return;
    }
    Initialize();
    fFirstPageSource = FindSource(kFirstPageInputSlot);
    fRemainingSource = FindSource(kInputSlot);
    RegisterTasks(kTasks);
}

bool APaperFeedProcessor::IsApplicable() const
{
    const ASettingsStore& settings = GetSettingsStore();
    const bool pagesAreRewritten = settings.fBooklet || settings.fIsDuplex || settings.fWatermarksOn ||
                                   settings.fMirrorPrint || settings.fManualDuplex;
    return settings.fFirstPageDifferent && pagesAreRewritten;
}

std::optional<APaperFeedProcessor::ASource> APaperFeedProcessor::FindSource(std::string_view inOption)
{
    const AOptionValue slot = GetCUPSOption(inOption);
    const auto code = slot ? GetSettingsStore().GetInvocationCode(kInputSlot, *slot) : std::nullopt;
    return code ? std::optional(ASource{PSF::CreateStandardFeatureName(kInputSlot, *slot), "\t" + *code})
                : std::nullopt;
}

void APaperFeedProcessor::Initialize()
{
    const ASettingsStore& settings = GetSettingsStore();
    const unsigned pagesPerCopy = GetPagesManager().GetPagesPerCopy();
    if (settings.fManualDuplex)
    {
        PlanManualDuplex(pagesPerCopy);
    }
    else
    {
        fPagesStep = pagesPerCopy;
        fNextFirstPage = 1;
    }
    if (settings.fManualDuplexPrintGuide)
    {
        fRemainingCount = -1;
    }
    // A copy of one sheet has no remaining pages to wait for.
    if (pagesPerCopy <= 2 && (settings.fIsDuplex || settings.fManualDuplex))
    {
        fRemainingCount = static_cast<int>(GetPagesManager().GetCopiesInDocument());
    }
}

/// Of a job in two passes only one holds first pages, at its start or at its end.
void APaperFeedProcessor::PlanManualDuplex(unsigned inPagesPerCopy)
{
    const ASettingsStore& settings = GetSettingsStore();
    const unsigned half = inPagesPerCopy / 2;
    const unsigned guide = settings.fManualDuplexPrintGuide ? 1 : 0;
    const bool isReversed = settings.fShouldReversePages && !settings.fBooklet;
    fPagesStep = half;
    fNextFirstPage = half;
    if (settings.fFaceDownOutput)
    {
        fNextFirstPage = (isReversed != settings.fPrintOnBottom ? 1 : half) + guide;
    }
}

LineProcessStatus APaperFeedProcessor::ProcessLine(APostScriptLineInfo& ioLine)
{
    if (ioLine.Holds("%%Page:"))
    {
        if (const auto page = PSF::GetPageInfoFromPSPageInvocation(ioLine.GetText()))
        {
            ProcessPage(page->fOrdinal);
        }
        return kLineProcessUnchanged;
    }
    return fPageSeen && BeginsFeature(ioLine) ? EmptyFeature(ioLine) : kLineProcessUnchanged;
}

void APaperFeedProcessor::ProcessPage(int inNumber)
{
    fPageSeen = true;
    if (inNumber == fNextFirstPage)
    {
        InsertPaperFeedPSCommand(true);
        fExpectRemaining = true;
        ++fFirstPageCount;
        fSkipNext = GetSettingsStore().fIsDuplex;
        fNextFirstPage += fPagesStep;
    }
    else if (fExpectRemaining && fSkipNext)
    {
        fSkipNext = false;
    }
    else if (fExpectRemaining)
    {
        InsertPaperFeedPSCommand(false);
        fExpectRemaining = false;
        ++fRemainingCount;
    }
    CompleteWhenDone();
}

/// Copies that are not collated begin once. The features are emptied to the end of the job all the same.
void APaperFeedProcessor::CompleteWhenDone()
{
    const bool wasDoneOnce = !GetSettingsStore().fCollate && fFirstPageCount > 0 && fRemainingCount > 0;
    const auto copies = static_cast<int>(GetPagesManager().GetCopiesInDocument());
    if (wasDoneOnce || (fFirstPageCount == copies && fRemainingCount == copies))
    {
        CompleteTask("%%Page:");
    }
}

LineProcessStatus APaperFeedProcessor::EmptyFeature(const APostScriptLineInfo& inLine)
{
    WriteData(inLine.GetText());
    SkipCurrentFeature();
    InsertEndFeatureString(false);
    return kLineProcessSkip;
}

/// With one of the two sources alone there is no telling where to come from or to go back to.
void APaperFeedProcessor::InsertPaperFeedPSCommand(bool inFirstPage)
{
    if (!fFirstPageSource || !fRemainingSource)
    {
        return;
    }
    const ASource& source = inFirstPage ? *fFirstPageSource : *fRemainingSource;
    const bool movesMatrix = GetSettingsStore().fRedefineShowpage;
    WriteData(movesMatrix ? kSaveMatrix : "");
    LoggerLogMessage(kLogTrace, "Insert %s Page%s From PS command\n", inFirstPage ? "First" : "Remaining",
                     inFirstPage ? "" : "s");
    InsertBeginFeatureString(source.fFeature, true);
    WriteData(source.fCode);
    InsertEndFeatureString(true);
    WriteData(movesMatrix ? kRestoreMatrix : "");
}
