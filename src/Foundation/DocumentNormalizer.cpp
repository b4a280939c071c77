#include "Foundation/DocumentNormalizer.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cups/pwg.h>

#include "Foundation/BlockReader.h"
#include "Foundation/ChildProcess.h"
#include "Foundation/EmbeddedDocumentTracker.h"
#include "Imaging/Logger.h"

namespace
{

constexpr const char* kServerBin = "CUPS_SERVERBIN";
constexpr const char* kDefaultServerBin = "/usr/lib/cups";

std::string FindFilter(const char* inPreferred, const char* inName)
{
    if (access(inPreferred, X_OK) == 0)
    {
        return inPreferred;
    }
    const char* const folder = ASettingsStore::GetEnvironmentVariable(kServerBin);
    return std::string(folder != nullptr ? folder : kDefaultServerBin) + "/filter/" + inName;
}

std::vector<std::string> MakeArguments()
{
    std::vector<std::string> arguments;
    for (int i = 0; i < 4; ++i)
    {
        const char* const argument = ASettingsStore::GetInstance().GetCommandLineParameter(i);
        arguments.emplace_back(argument != nullptr ? argument : "");
    }
    arguments.emplace_back("1");
    arguments.push_back(MakeConversionOptions());
    return arguments;
}

/// The filter's own environment, but for the printer description.
std::vector<std::string> MakeEnvironment()
{
    std::vector<std::string> environment;
    bool hasServerBin = false;
    for (char** entry = ASettingsStore::GetInstance().GetEnvironmentVariables(); entry != nullptr && *entry != nullptr;
         ++entry)
    {
        const std::string_view text = *entry;
        hasServerBin = hasServerBin || text.starts_with(std::string(kServerBin) + "=");
        if (!text.starts_with("PPD="))
        {
            environment.emplace_back(text);
        }
    }
    if (!hasServerBin)
    {
        environment.push_back(std::string(kServerBin) + "=" + kDefaultServerBin);
    }
    return environment;
}

void AppendOption(std::string& ioOptions, std::string_view inName, std::string_view inValue)
{
    ioOptions.append(ioOptions.empty() ? "" : " ").append(inName).append("=");
    for (const char byte : inValue)
    {
        const bool isSpecial = std::string_view(" \t\r\n'\"\\{}").find(byte) != std::string_view::npos;
        ioOptions.append(isSpecial ? "\\" : "").append(1, byte);
    }
}

/// The size of a page that does not ask for one, by a name that is known without the printer description.
std::string GetDefaultMedia()
{
    const APPDFile* const description = ASettingsStore::GetInstance().GetPPDFile();
    const auto name = description != nullptr ? description->GetDefaultPageSizeName() : std::nullopt;
    const auto size = name ? description->FindPageSize(*name) : std::nullopt;
    if (!size)
    {
        return {};
    }
    if (pwgMediaForPPD(name->c_str()) != nullptr)
    {
        return *name;
    }
    return "Custom." + std::to_string(static_cast<int>(size->fWidth)) + "x" +
           std::to_string(static_cast<int>(size->fLength));
}

/// An empty result is none. A program of the chain may well end with status 0 when the disk had no room for all of its
/// result: then there is none for one byte more either.
bool HoldsResult(const ACupsFile& inFile)
{
    struct stat info = {};
    const int descriptor = inFile.GetFileDescriptor();
    return fstat(descriptor, &info) == 0 && info.st_size != 0 && pwrite(descriptor, "", 1, info.st_size) == 1 &&
           ftruncate(descriptor, info.st_size) == 0;
}

/// Copies the job without the blocks in which it states its number of copies: the interpreter would multiply the pages.
/// Without a file to copy to, it stops at the first such block. Returns whether there was one.
bool DropCopies(ACupsFile& ioFile, ACupsFile* outCopy)
{
    std::vector<std::string> texts = AEmbeddedDocumentTracker::GetNeedles();
    texts.emplace_back(kBeginNonPPDFeature);
    const ALineNeedles needles(texts);
    AEmbeddedDocumentTracker embedded;
    bool wasFound = false;
    for (bool isEOF = false; !isEOF && !(wasFound && outCopy == nullptr);)
    {
        const AJobLine line = ioFile.CopyToLine(needles, outCopy, isEOF);
        embedded.AnalyzePostScriptLine(line);
        if (!embedded.IsInsideEmbeddedDocument() && line.Holds(kBeginNonPPDFeature) && line.Holds("NumCopies"))
        {
            wasFound = true;
            ABlockReader(ioFile, kEndNonPPDFeature).Skip();
        }
        else if (outCopy != nullptr)
        {
            outCopy->Write(line.fText);
        }
    }
    return wasFound;
}

} // namespace

std::string MakeConversionOptions()
{
    const ASettingsStore& settings = ASettingsStore::GetInstance();
    std::string options;
    for (const std::string_view name : {"media", "PageSize", "pdftops-renderer"})
    {
        if (const AOptionValue value = settings.GetCUPSOption(name))
        {
            AppendOption(options, name, *value);
        }
    }
    const bool hasSize = settings.GetCUPSOption("media") || settings.GetCUPSOption("PageSize");
    const std::string byDefault = hasSize ? "" : GetDefaultMedia();
    if (!byDefault.empty())
    {
        AppendOption(options, "media", byDefault);
    }
    return options;
}

bool ADocumentNormalizer::NormalizeDocument(ACupsFile& ioFile)
{
    LoggerLogMessage(kLogTrace, "Normalizing document...\n");
    ACupsFile clean;
    const bool isConverted = Convert(ioFile, clean);
    if (isConverted)
    {
        ioFile.Close();
        ioFile = clean;
    }
    ioFile.Rewind();
    LoggerLogMessage(kLogTrace, "Normalization was %s. Return code - %d\n",
                     isConverted ? "successful" : "not successful", fStatus);
    return isConverted;
}

/// On a PostScript error both programs end with status 0 and without a result.
bool ADocumentNormalizer::Convert(ACupsFile& ioFile, ACupsFile& outClean)
{
    ACupsFile withoutCopies;
    ACupsFile pdf;
    if (!CopyWithoutCopies(ioFile, withoutCopies) || !pdf.OpenTemporaryFile())
    {
        return false;
    }
    fStatus = MakePDF(withoutCopies.IsOpen() ? withoutCopies : ioFile, pdf);
    if (fStatus != 0 || !HoldsResult(pdf) || !outClean.OpenTemporaryFile())
    {
        return false;
    }
    AChildProcess toPostScript;
    toPostScript.fPath = FindFilter("/usr/libexec/cups/filter/cgpdftops", "pdftops");
    toPostScript.fArguments = MakeArguments();
    // The file has no name of its own any more.
    toPostScript.fArguments.push_back("/dev/fd/" + std::to_string(pdf.GetFileDescriptor()));
    toPostScript.fEnvironment = MakeEnvironment();
    toPostScript.fStandardOutput = outClean.GetFileDescriptor();
    toPostScript.fInherited = pdf.GetFileDescriptor();
    fStatus = ExecuteProcess(toPostScript);
    return fStatus == 0 && HoldsResult(outClean);
}

int ADocumentNormalizer::MakePDF(ACupsFile& ioFile, ACupsFile& outPDF)
{
    AChildProcess toPDF;
    toPDF.fPath = FindFilter("/usr/libexec/cups/filter/pstopdffilter", "gstopdf");
    toPDF.fArguments = MakeArguments();
    toPDF.fEnvironment = MakeEnvironment();
    toPDF.fStandardInput = ioFile.GetFileDescriptor();
    toPDF.fStandardOutput = outPDF.GetFileDescriptor();
    return ioFile.LendFromStart() ? ExecuteProcess(toPDF) : -1;
}

/// A job that states no copies needs no copy of itself: outCopy stays closed.
bool ADocumentNormalizer::CopyWithoutCopies(ACupsFile& ioFile, ACupsFile& outCopy)
{
    ioFile.Rewind();
    if (!DropCopies(ioFile, nullptr))
    {
        return true;
    }
    if (!outCopy.OpenTemporaryFile())
    {
        return false;
    }
    ioFile.Rewind();
    DropCopies(ioFile, &outCopy);
    outCopy.Rewind();
    fStorageError = outCopy.GetWriteError() != 0 ? outCopy.GetWriteError() : ioFile.GetReadError();
    return fStorageError == 0;
}
