#include "Processors/MirrorPrintProcessor.h"

namespace
{

// VXcs is the page transformation of the redefined operators, VXsetCS applies it to the current matrix.
constexpr std::string_view kPortraitMirror =
    "-1 1 matrix scale currentpagedevice/PageSize get 0 get 0 matrix translate "
    "userdict /VXcs get concatmatrix\n";
constexpr std::string_view kLandscapeMirror = "1 -1 matrix scale 0 currentpagedevice/PageSize get 1 get matrix "
                                              "translate userdict /VXcs get concatmatrix\n";
constexpr std::string_view kMirrorCall = "VXsetCS\n";

constexpr int kGuidePages = 2; ///< one a pass

constexpr ATask kTasks[] = {
    {"%%EndSetup", kBeforeLine, "Insert mirror invocation"},
    {"MirrorPrint", kBeforeLine, "Skip mirror code"},
};
constexpr ATask kGuideTasks[] = {
    {"(reinsertion)", kAfterLine, "Mirror manual duplex guide"},
};

} // namespace

AMirrorPrintProcessor::AMirrorPrintProcessor(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    if (!IsApplicable())
    {
        return;
    }
    GetSettingsStore().fRedefineShowpage = true;
    RegisterTasks(kTasks);
    if (GetSettingsStore().fManualDuplexPrintGuide)
    {
        RegisterTasks(kGuideTasks);
    }
}

LineProcessStatus AMirrorPrintProcessor::ProcessLine(APostScriptLineInfo& ioLine)
{
    if (ioLine.Holds("MirrorPrint"))
    {
        return DropOwnFeature(ioLine);
    }
    if (ioLine.Holds("%%EndSetup"))
    {
        MirrorPages();
    }
    else if (ioLine.Holds("(reinsertion)"))
    {
        MirrorGuide();
    }
    return kLineProcessUnchanged;
}

LineProcessStatus AMirrorPrintProcessor::DropOwnFeature(const APostScriptLineInfo& inLine)
{
    if (!BeginsFeature(inLine))
    {
        return kLineProcessUnchanged;
    }
    SkipCurrentFeature();
    CompleteTask("MirrorPrint");
    return kLineProcessSkip;
}

void AMirrorPrintProcessor::MirrorPages()
{
    WriteData(GetSettingsStore().fPortrait ? kPortraitMirror : kLandscapeMirror);
    WriteData(kMirrorCall);
    CompleteTask("%%EndSetup");
}

void AMirrorPrintProcessor::MirrorGuide()
{
    WriteData(kMirrorCall);
    if (++fGuideCount == kGuidePages)
    {
        CompleteTask("(reinsertion)");
    }
}
