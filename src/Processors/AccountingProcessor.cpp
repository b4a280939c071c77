#include "Processors/AccountingProcessor.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "Imaging/HostFacts.h"
#include "Imaging/Logger.h"
#include "Imaging/OptionCoding.h"
#include "Imaging/PPDKeywords.h"
#include "Imaging/PostScriptText.h"
#include "Imaging/PrintfTemplate.h"
#include "Imaging/TextComparison.h"

namespace
{

/// Keyword of the plug-in, procedure and value.
constexpr char kPlugIn[] = R"([{
%%%%BeginPluginPS: %s
	/VXDict /ProcSet findresource /%s get (%s) exch exec
%%%%EndPluginPS
}stopped cleartomark
)";

/// The dictionary in UTF-8 for printers that can read it, and in ISO Latin 1 for the others.
constexpr std::string_view kJobAcctInvocation = R"([{
%%%%BeginFeature: *VXAccountingInfo
	currentpagedevice /StringCodeSet known
	{
		<< /StringCodeSet (UTF8) >> setpagedevice
		<<
%s		>> setuserparams
	}
	{
		<<
%s		>> setuserparams
	} ifelse
%%%%EndFeature
} stopped cleartomark
)";
constexpr std::string_view kHiddenText = "***";

constexpr std::string_view kAccountingInfo = "VXAccountingInfo";
constexpr int kFormWithGroups = 2;
constexpr int kServerForm = 3;

constexpr std::size_t kFieldBufferSize = 256;

constexpr ATask kVeldraTasks[] = {
    {"%%EndComments", kBeforeLine, "Insert Veldra accounting information"},
};
constexpr ATask kMorvinTasks[] = {
    {"%%BeginProlog", kAfterLine, "Insert Morvin accounting information"},
};

/// As C reads an integer constant: octal after 0, hexadecimal after 0x; the nearest limit when it does not fit.
int ReadCInteger(std::string_view inText)
{
    using Limits = std::numeric_limits<int>;
    const long value = std::strtol(std::string(inText).c_str(), nullptr, 0);
    return static_cast<int>(std::clamp<long>(value, Limits::min(), Limits::max()));
}

/// A name from the command line or an option that is taken as it stands.
std::string GetText(AOptionValue inOption, const char* inArgument)
{
    return std::string(inOption ? *inOption : inArgument != nullptr ? inArgument : "");
}

void AppendEntry(std::string& ioText, const std::string& inKey, std::string_view inValue)
{
    ioText.append("\t\t\t/").append(inKey).append(" (").append(inValue).append(")\n");
}

std::string GetAccountKey(std::size_t inNumber)
{
    return "JobAcct" + std::to_string(inNumber);
}

} // namespace

AAccountingProcessor::AAccountingProcessor(ADocumentIterator& ioIterator) : APostScriptProcessor(ioIterator)
{
    if (!IsApplicable())
    {
        return;
    }
    Initialize();
    if (fJobAccounting != -1 || fAccountingInfo == kServerForm)
    {
        RegisterTasks(kVeldraTasks);
    }
    if (fAccountingInfo != kServerForm && fAccountingInfo != 0)
    {
        RegisterTasks(kMorvinTasks);
    }
}

bool AAccountingProcessor::IsApplicable() const
{
    return ReadFormNumber() != 0 || ReadSwitch() != -1;
}

int AAccountingProcessor::ReadFormNumber()
{
    if (const AOptionValue form = GetCUPSOption(kAccountingInfo, true))
    {
        return ReadCInteger(*form);
    }
    const APPDInfo* const printer = GetSettingsStore().GetPPDInfo();
    const auto form = printer != nullptr ? printer->GetValue(kAccountingInfo) : std::nullopt;
    return form ? ReadCInteger(*form) : 0;
}

int AAccountingProcessor::ReadSwitch()
{
    if (const AOptionValue option = GetCUPSOption(kVXJobAccountingPPDKeyRef, true))
    {
        return IsOption(option, kTrueValue) ? 1 : 0;
    }
    const APPDInfo* const printer = GetSettingsStore().GetPPDInfo();
    const auto byDefault = printer != nullptr ? printer->GetDefaultValue(kVXJobAccountingPPDKeyRef) : std::nullopt;
    if (byDefault && EqualWithoutCase(*byDefault, kTrueValueRef))
    {
        return 1;
    }
    return byDefault && EqualWithoutCase(*byDefault, kFalseValueRef) ? 0 : -1;
}

void AAccountingProcessor::Initialize()
{
    fJobAccounting = ReadSwitch();
    fAccountingInfo = ReadFormNumber();
    if (GetCUPSOption("VXAccountID", true))
    {
        fAccountID = PSF::CreateFormatedString(GetDecodedOption("VXAccountIDEdit"));
    }
    const std::string userName = GetUserName();
    fFields[kJobName] = GetJobName();
    fFields[kUserName] = ReadAsUTF8(userName);
    fFields[kComputerName] = CreateComputerName();
    fFields[kDomainName] = CreateDomainName();
    fFields[kTimestamp] = CreateTimeStamp();
    fFields[kUUID] = GetUUID();
    fFields[kApplicationName] = GetApplicationName();
    fFields[kApplicationFileName] = GetDecodedOption("VXApplicationFilename");
    fFields[kDepartmentID] = GetDecodedOption("VXDepartmentID");
    std::transform(fFields.begin(), fFields.end(), fFields.begin(), PSF::CreateFormatedString);
    fDepartmentAccessCode = ASecret(PSF::CreateFormatedString(GetDecodedOption("VXDepartmentAccessCode")));
    if (fAccountingInfo == kFormWithGroups)
    {
        fGroups = GetGroupsForUser(userName);
    }
}

std::string AAccountingProcessor::GetJobName()
{
    std::string name = GetText(GetCUPSOption(kPMJobNameKey), GetSettingsStore().GetCommandLineParameter(3));
    return AStringValidator::CreateCorrectedValue(name).value_or(name);
}

std::string AAccountingProcessor::GetUserName()
{
    return GetText(GetCUPSOption("VXRealUserName"), GetSettingsStore().GetCommandLineParameter(2));
}

std::string AAccountingProcessor::GetUUID()
{
    const AOptionValue option = GetCUPSOption("VXUUID");
    return option ? CreateDecodedCString(*option) : CreateUUID();
}

std::string AAccountingProcessor::GetApplicationName()
{
    const AOptionValue option = GetCUPSOption("VXApplicationName");
    return option ? CreateDecodedCString(*option) : GetText(GetCUPSOption(kPMApplicationNameKey), nullptr);
}

std::string AAccountingProcessor::GetDecodedOption(std::string_view inKey)
{
    const AOptionValue option = GetCUPSOption(inKey);
    return option ? CreateDecodedCString(*option) : std::string();
}

LineProcessStatus AAccountingProcessor::ProcessLine(APostScriptLineInfo& ioLine)
{
    if (ioLine.Holds("%%EndComments"))
    {
        InsertVeldraAccountingInfo();
        CompleteTask("%%EndComments");
    }
    else if (ioLine.Holds("%%BeginProlog"))
    {
        InsertJobAcctAccountingInfo();
        CompleteTask("%%BeginProlog");
    }
    return kLineProcessUnchanged;
}

void AAccountingProcessor::InsertVeldraAccountingInfo()
{
    const bool isServerForm = fAccountingInfo == kServerForm;
    InsertPlugIn("VXTime", isServerForm ? "SetTimeStamp" : "SetTime", fFields[kTimestamp]);
    InsertPlugIn("VXJobName", "SetJobName", fFields[kJobName]);
    if (fJobAccounting == 1 || isServerForm)
    {
        InsertPlugIn("VXUserName", "SetUserName", fFields[kUserName]);
        InsertPlugIn("VXUUID", "SetUUID", fFields[kUUID]);
    }
    if (isServerForm)
    {
        InsertPlugIn("VXHostName", "SetHostName", fFields[kComputerName]);
        InsertPlugIn("VXDomainName", "SetDomain", fFields[kDomainName]);
    }
    if (fAccountID)
    {
        InsertPlugIn("VXAccountID", "SetAccountId", *fAccountID);
    }
}

void AAccountingProcessor::InsertPlugIn(const char* inKeyword, const char* inProcedure, const std::string& inValue)
{
    WriteFormattedData(kPlugIn, inKeyword, inProcedure, inValue.c_str());
}

void AAccountingProcessor::InsertJobAcctAccountingInfo()
{
    LoggerLogMessage(kLogTrace, "Accounting info:%s\n", CreateJobAcctInvocation(AReader::kLog).c_str());
    WriteData(CreateJobAcctInvocation(AReader::kPrinter));
}

std::string AAccountingProcessor::CreateJobAcctInvocation(AReader inReader) const
{
    return FormatTemplate(kJobAcctInvocation, {CreateDictionaryBody(TextEncoding::kUTF8, inReader),
                                               CreateDictionaryBody(TextEncoding::kISOLatin1, inReader)});
}

/// A field that has no form in the encoding is left out.
std::string AAccountingProcessor::CreateDictionaryBody(TextEncoding inEncoding, AReader inReader) const
{
    std::string body;
    for (std::size_t i = 0; i < kFieldCount; ++i)
    {
        const std::string value = ConvertText(fFields[i], inEncoding, kFieldBufferSize);
        if (!value.empty())
        {
            AppendEntry(body, i == kJobName ? "JobName" : GetAccountKey(i), value);
        }
    }
    const std::string code = ConvertText(fDepartmentAccessCode.RevealForJob(), inEncoding, kFieldBufferSize);
    if (!code.empty())
    {
        AppendEntry(body, GetAccountKey(kDepartmentAccessCode), inReader == AReader::kPrinter ? code : kHiddenText);
    }
    int number = 0;
    for (const std::string& group : fGroups)
    {
        AppendEntry(body, "Group" + std::to_string(++number), group);
    }
    return body;
}
