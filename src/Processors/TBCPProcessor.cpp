#include "Processors/TBCPProcessor.h"

#include "Imaging/HostFacts.h"
#include "Imaging/TextComparison.h"

namespace
{

constexpr const char* kBeginTag = "\x01M";
constexpr unsigned kFirstSystemWithout = 0x1040;

constexpr ATask kTasks[] = {
    {"%!PS-Adobe", kBeforeLine, "Check document beginnning"}, // as the printers' support has always read it in the log
    {kBeginTag, kBeforeLine, "Erase incorrect TBCP invocation"},
};

} // namespace

std::string RemoveTBCPBeginTagFromPSLine(std::string_view inLine)
{
    constexpr std::string_view kTag = kBeginTag;
    std::string cleaned;
    for (std::size_t tag = inLine.find(kTag); tag != std::string_view::npos; tag = inLine.find(kTag))
    {
        cleaned += inLine.substr(0, tag);
        inLine.remove_prefix(tag + kTag.size());
    }
    return cleaned.append(inLine);
}

ATBCPProcessor::ATBCPProcessor(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    if (IsApplicable())
    {
        RegisterTasks(kTasks);
    }
}

bool ATBCPProcessor::IsApplicable() const
{
    const APPDInfo* const ppd = GetSettingsStore().GetPPDInfo();
    return GetSystemVersion() < kFirstSystemWithout && ppd != nullptr && ppd->IsVeldraPrinter() &&
           !GetSettingsStore().fIsNativePostScript &&
           EqualWithoutCase(ppd->GetValue("cupsProtocol").value_or(""), "TBCP");
}

LineProcessStatus ATBCPProcessor::ProcessLine(APostScriptLineInfo& ioLine)
{
    if (ioLine.Holds(kBeginTag))
    {
        WriteData(RemoveTBCPBeginTagFromPSLine(ioLine.GetText()));
        CompleteTask(kBeginTag);
        return kLineProcessSkip;
    }
    WriteData(kBeginTag);
    CompleteTask("%!PS-Adobe");
    return kLineProcessUnchanged;
}
