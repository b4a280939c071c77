#include "Processors/JobStorageProcessor.h"

#include "Imaging/OptionCoding.h"
#include "Imaging/PPDKeywords.h"
#include "Imaging/PostScriptText.h"
#include "Imaging/PrintfTemplate.h"
#include "Imaging/TextEncoding.h"

namespace
{

/// Key and text in UTF-8 for printers that can read it, key and text in ISO Latin 1 for the others.
constexpr std::string_view kStringCodeSetInvocation = R"(	currentpagedevice /StringCodeSet known
	{
		<< /StringCodeSet (UTF8) >> setpagedevice
		<< /CollateDetails
			<< /Type 8
				/%s (%s)
			>>
		>> setpagedevice
	}
	{
		<< /CollateDetails
			<< /Type 8
				/%s (%s)
			>>
		>> setpagedevice
	} ifelse
)";

/// Kind of hold and PIN.
constexpr std::string_view kPINInvocation = R"(	<< /Collate true /CollateDetails
		<< /Type 8 /Hold %d /HoldType 1 /HoldKey (%s) >>
	>> setpagedevice
)";
constexpr long long kHoldOnce = 1;
constexpr long long kHoldAndStore = 2;

constexpr std::string_view kJobStorageOff = R"(	<< /Collate true /CollateDetails
		<< /Type 8 /Hold 0 >>
	>> setpagedevice
)";

constexpr std::size_t kNameBufferSize = 256;
constexpr std::size_t kPINLineBufferSize = 256;

constexpr ATask kTasks[] = {
    {"VXUserName", kAfterLine, "Insert username invocation"},
    {"VXJobName", kAfterLine, "Insert jobname invocation"},
    {"VXUsePINToPrint", kAfterLine, "Inject PIN"},
    {"VXJobRetentionOption", kAfterLine, "Do job storage invocation handling"},
};

} // namespace

AJobStorageProcessor::AJobStorageProcessor(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    if (IsApplicable())
    {
        Initialize();
        RegisterTasks(kTasks);
    }
}

bool AJobStorageProcessor::IsApplicable() const
{
    const AOptionValue option = GetCUPSOption("VXJobRetentionOption");
    const AOptionValue retention = option ? option : GetCUPSOption("VXJobRetention");
    return retention && !IsOption(retention, "VXJobRetentionOff");
}

void AJobStorageProcessor::Initialize()
{
    fJobStorageActive = true;
    GetSettingsStore().fJobStorageActive = true;
    if (const AOptionValue name = GetCUPSOption("VXCustomJobName"))
    {
        fJobName = PSF::CreateFormatedString(ReadAsUTF8(CreateDecodedCString(*name)));
    }
    if (const AOptionValue name = GetCUPSOption("VXCustomUserName"))
    {
        fUserName = PSF::CreateFormatedString(ReadAsUTF8(CreateDecodedCString(*name)));
    }
    if (const AOptionValue pin = GetCUPSOption("VXPinToPrintExtended"))
    {
        fPIN = ASecret(PSF::CreateFormatedString(CreateDecodedCString(*pin)));
    }
}

LineProcessStatus AJobStorageProcessor::ProcessLine(APostScriptLineInfo& ioLine)
{
    if (!BeginsFeature(ioLine))
    {
        return kLineProcessUnchanged;
    }
    if (ioLine.Holds("VXUserName") && (ioLine.Holds("Set") || ioLine.Holds("FileSharingName")))
    {
        InsertStringCodeSetInvocation("UserName", fUserName);
        CompleteTask("VXUserName");
    }
    else if (ioLine.Holds("VXJobName") && (ioLine.Holds("Set") || ioLine.Holds("DocName")))
    {
        InsertStringCodeSetInvocation("JobMgrName", fJobName);
        CompleteTask("VXJobName");
    }
    else
    {
        ProcessOtherFeature(ioLine);
    }
    return kLineProcessUnchanged;
}

/// Any other kind of retention is the printer's own affair.
void AJobStorageProcessor::ProcessOtherFeature(const APostScriptLineInfo& inLine)
{
    if (inLine.Holds("VXJobRetentionPrivate"))
    {
        HoldPrivateJob(inLine.Holds("VXJobRetentionPrivateStore"));
    }
    else if (inLine.Holds("VXJobRetentionProof"))
    {
        PrintProofAtOnce();
    }
    else if (inLine.Holds("VXJobRetentionPersonal"))
    {
        ExtendPersonalJob();
        CompleteTask("VXJobRetentionOption");
    }
    else if (inLine.Holds("VXUsePINToPrint"))
    {
        ProcessPIN(inLine.Holds("True"));
    }
}

void AJobStorageProcessor::ProcessPIN(bool inIsUsed)
{
    if (inIsUsed)
    {
        InjectPIN();
    }
    CompleteTask("VXUsePINToPrint");
}

/// The job's own code follows the hold.
void AJobStorageProcessor::HoldPrivateJob(bool inStore)
{
    WriteData(CreatePINInvocationString(inStore));
    CompleteTask("VXJobRetentionOption");
}

/// A proof of a single copy has no copies to hold back.
void AJobStorageProcessor::PrintProofAtOnce()
{
    if (GetSettingsStore().GetRequestedCopies() != 1)
    {
        return;
    }
    WriteData(kJobStorageOff);
    SkipCurrentFeature();
    fJobStorageActive = false;
    CompleteTask("VXJobRetentionOption");
}

void AJobStorageProcessor::InsertStringCodeSetInvocation(const char* inKey, const std::string& inValue)
{
    const std::string utf8 = ConvertText(inValue, TextEncoding::kUTF8, kNameBufferSize);
    const std::string latin1 = ConvertText(inValue, TextEncoding::kISOLatin1, kNameBufferSize);
    WriteData(FormatTemplate(kStringCodeSetInvocation, {inKey, utf8, inKey, latin1}));
    SkipCurrentFeature();
    InsertEndFeatureString(false);
}

std::string AJobStorageProcessor::CreatePINInvocationString(bool inStore) const
{
    return FormatTemplate(kPINInvocation, {inStore ? kHoldAndStore : kHoldOnce, std::string(fPIN.RevealForJob())});
}

/// Without a PIN the block would hold the job for good.
void AJobStorageProcessor::InjectPIN()
{
    if (fJobStorageActive && !fPIN.IsEmpty())
    {
        FillCurrentFeature("/HoldKey", std::string(fPIN.RevealForJob()), kPINLineBufferSize);
    }
    else
    {
        SkipCurrentFeature();
    }
}

void AJobStorageProcessor::ExtendPersonalJob()
{
    AOptionValue usesPIN = GetCUPSOption("VXUsePINToPrint");
    if (usesPIN == "true")
    {
        usesPIN = kTrueValueRef;
    }
    else if (usesPIN == "false")
    {
        usesPIN = kFalseValueRef;
    }
    const auto code =
        usesPIN ? GetSettingsStore().GetInvocationCode(kVXJobRetentionPersonalPINKeyRef, *usesPIN) : std::nullopt;
    if (code)
    {
        FillCurrentFeature(" /Hold ", *code, kLineBufferSize);
    }
    else
    {
        CopyCurrentFeature();
    }
}

/// Copies the rest of the feature block. Lines that hold the mark are templates for the argument.
void AJobStorageProcessor::FillCurrentFeature(std::string_view inMark, const std::string& inArgument,
                                              std::size_t inBufferSize)
{
    ABlockReader feature(GetInputFile(), kEndFeature, inBufferSize);
    AJobLine line;
    while (feature.ReadLine(line))
    {
        WriteData(line.Holds(inMark) ? FormatTemplate(line.fText, {inArgument}) : std::string(line.fText));
    }
}
