#include "Processors/WebPreviewProcessor.h"

#include "Imaging/PPDKeywords.h"

namespace
{

// The printer's procedure is there on machines that hold jobs only.
constexpr std::string_view kHoldJob = R"([{
%%BeginPluginPS: VXHoldJob True
	/VXDict /ProcSet findresource /HoldPrint get true exch exec
%%EndPluginPS
}stopped cleartomark
)";
constexpr std::string_view kPrintJob = R"([{
%%BeginPluginPS: VXHoldJob False
	/VXDict /ProcSet findresource /HoldPrint get false exch exec
%%EndPluginPS
}stopped cleartomark
)";

constexpr ATask kTasks[] = {
    {"%%BeginSetup", kAfterLine, "Insert hold job invocation"},
};

} // namespace

AWebPreviewProcessor::AWebPreviewProcessor(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    if (IsApplicable())
    {
        RegisterTasks(kTasks);
    }
}

LineProcessStatus AWebPreviewProcessor::ProcessLine(APostScriptLineInfo& /*ioLine*/)
{
    WriteData(IsOption(GetCUPSOption("VXHoldJob", true), kTrueValue) ? kHoldJob : kPrintJob);
    CompleteTask("%%BeginSetup");
    return kLineProcessUnchanged;
}
