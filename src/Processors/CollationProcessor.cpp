#include "Processors/CollationProcessor.h"

#include "Imaging/HostFacts.h"
#include "Imaging/PPDKeywords.h"

namespace
{

constexpr std::string_view kCollateTrueOpening = R"(%%BeginFeature: *Collate True
	<< /Collate true >> setpagedevice
)";
constexpr std::string_view kEndOfFeature = "%%EndFeature\n";

/// Ends the stopped context that a converter opened for the next feature, and begins a new one.
constexpr std::string_view kNewStoppedContext = "} stopped cleartomark\n[{\n";

// The print dialog of these systems asks for stapling without asking for collation.
constexpr unsigned kFirstForgetfulSystem = 0x1030;
constexpr unsigned kFirstMendedSystem = 0x1040;

constexpr ATask kTasks[] = {
    {"\\*Collate", kBeforeLine, "Process %%BeginFeature: *Collate", kRegExp},
};
constexpr ATask kJobStorageTasks[] = {
    {"VXJobRetentionOption", kBeforeLine, "Insert *Collate True before job storage"},
};

/// With regard to case, unlike everywhere else.
bool IsPresentAndNotFalse(AOptionValue inValue)
{
    return inValue && *inValue != kFalseValue;
}

bool ForgetsToCollate(unsigned inSystemVersion)
{
    return inSystemVersion >= kFirstForgetfulSystem && inSystemVersion < kFirstMendedSystem;
}

} // namespace

ACollationProcessor::ACollationProcessor(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    if (!IsApplicable())
    {
        return;
    }
    RegisterTasks(kTasks);
    if (GetSettingsStore().fJobStorageActive)
    {
        RegisterTasks(kJobStorageTasks);
    }
}

bool ACollationProcessor::IsApplicable() const
{
    const AOptionValue staple = GetCUPSOption("VXStaplerOptions");
    const bool isStapled = staple && !IsOption(staple, "None");
    const bool isCollated = IsPresentAndNotFalse(GetCUPSOption("collate")) &&
                            IsPresentAndNotFalse(GetCUPSOption("com.apple.print.PrintSettings.PMCopyCollate..b."));
    return (ForgetsToCollate(GetSystemVersion()) && GetPagesManager().GetNumberOfCopies() > 1 && isStapled &&
            isCollated) ||
           GetSettingsStore().fJobStorageActive;
}

LineProcessStatus ACollationProcessor::ProcessLine(APostScriptLineInfo& ioLine)
{
    if (!BeginsFeature(ioLine))
    {
        return kLineProcessUnchanged;
    }
    if (ioLine.Holds("Collate"))
    {
        return ReplaceCollation(ioLine);
    }
    if (ioLine.Holds("VXJobRetentionOption") && !ioLine.Holds("VXJobRetentionOff"))
    {
        CollateHeldJob();
    }
    return kLineProcessUnchanged;
}

/// A job may state its collation more than once, so the task is never complete. A held job is collated together with
/// its hold.
LineProcessStatus ACollationProcessor::ReplaceCollation(const APostScriptLineInfo& inLine)
{
    const bool isHeld = GetSettingsStore().fJobStorageActive;
    if (!isHeld && !inLine.Holds("False"))
    {
        return kLineProcessUnchanged;
    }
    SkipCurrentFeature();
    if (!isHeld)
    {
        WriteData(kCollateTrueOpening);
    }
    return kLineProcessSkip;
}

void ACollationProcessor::CollateHeldJob()
{
    WriteData(kCollateTrueOpening);
    WriteData(kEndOfFeature);
    if (!GetSettingsStore().fIsNativePostScript)
    {
        WriteData(kNewStoppedContext);
    }
    CompleteTask("VXJobRetentionOption");
}
