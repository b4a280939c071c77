#include "Processors/SmartDuplexProcessor.h"

namespace
{

constexpr std::string_view kDuplexOff = "mark\n\n<< /Duplex false >> setpagedevice\ncleartomark\n";

constexpr ATask kTasks[] = {
    {"%%Page:", kAfterLine, "Do smart duplexing"},
};

} // namespace

ASmartDuplexProcessor::ASmartDuplexProcessor(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    if (IsApplicable())
    {
        RegisterTasks(kTasks);
    }
}

/// Where an application puts several pages on a sheet itself, the pages of its job tell nothing about the sheets.
bool ASmartDuplexProcessor::IsApplicable() const
{
    const ASettingsStore& settings = GetSettingsStore();
    const bool isNumberUp = settings.fIsNativePostScript && GetPagesManager().GetPagesPerSheet() > 1;
    return settings.fIsDuplex && !isNumberUp && GetPagesManager().GetFinalNumberOfPages() % 2 != 0;
}

LineProcessStatus ASmartDuplexProcessor::ProcessLine(APostScriptLineInfo& ioLine)
{
    if (!ioLine.Holds("(excessive)") && ++fPageCount == GetPagesManager().GetFinalNumberOfPages())
    {
        SwitchDuplexOff();
        CompleteTask("%%Page:");
    }
    return kLineProcessUnchanged;
}

/// The device's request resets the matrix.
void ASmartDuplexProcessor::SwitchDuplexOff()
{
    const bool isRedefined = GetSettingsStore().fRedefineShowpage;
    WriteData(isRedefined ? kSaveMatrix : "matrix currentmatrix\n");
    WriteData(kDuplexOff);
    WriteData(isRedefined ? kRestoreMatrix : "setmatrix\n");
}
