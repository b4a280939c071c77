#include "Foundation/JobSpooler.h"

#include <algorithm>

#include "Foundation/BlockReader.h"
#include "Imaging/Logger.h"
#include "Imaging/NumberText.h"
#include "Imaging/PostScriptText.h"

namespace
{

constexpr std::string_view kBeginSubsetFont = "%ADOBeginSubsetFont";
constexpr std::string_view kEndSubsetFont = "%ADOEndSubsetFont";
constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
constexpr std::size_t kLongestName = 254;

// The setup code of real jobs takes some kilobytes; this keeps a job of nothing but features from taking all memory.
constexpr std::size_t kMostFeaturesText = std::size_t{64} * 1024 * 1024;

ALineNeedles MakeNeedles()
{
    std::vector<std::string> texts = AEmbeddedDocumentTracker::GetNeedles();
    for (const std::string_view text : {std::string_view("%%Trailer"), std::string_view("%%Page:"), kBeginFeature,
                                        kBeginNonPPDFeature, kBeginSubsetFont})
    {
        texts.emplace_back(text);
    }
    return ALineNeedles(texts);
}

std::string_view SkipWhiteSpace(std::string_view inText)
{
    inText.remove_prefix(std::min(inText.find_first_not_of(kWhiteSpace), inText.size()));
    return inText;
}

} // namespace

std::optional<int> GetStatedCopies(std::string_view inLine)
{
    // "%*[^:]:%254s%d": something, a colon, a name of at most 254 characters, a number.
    const std::size_t colon = inLine.find(':');
    if (colon == 0 || colon == std::string_view::npos)
    {
        return std::nullopt;
    }
    std::string_view rest = SkipWhiteSpace(inLine.substr(colon + 1));
    const std::size_t nameSize = std::min({rest.find_first_of(kWhiteSpace), rest.size(), kLongestName});
    rest = SkipWhiteSpace(rest.substr(nameSize));
    const std::string_view digits = rest.substr(rest.starts_with('+') || rest.starts_with('-') ? 1 : 0);
    const bool isNumber = !digits.empty() && digits[0] >= '0' && digits[0] <= '9';
    if (nameSize == 0 || !isNumber)
    {
        return std::nullopt;
    }
    return static_cast<int>(std::clamp(ReadLeadingInteger(rest), -1'000'000LL, 1'000'000LL));
}

void AJobSpooler::Spool()
{
    const ALineNeedles needles = MakeNeedles();
    bool isEOF = false;
    while (!isEOF && fStore.GetWriteError() == 0)
    {
        const AJobLine line = fInput.CopyToLine(needles, &fStore, isEOF);
        if (!line.fText.empty())
        {
            SpoolLine(line);
        }
    }
}

void AJobSpooler::SpoolLine(const AJobLine& inLine)
{
    const std::string text(inLine.fText);
    const AJobLine line{text, inLine.fStart};
    if (fEmbedded.SkipEmbeddedDocument(line, fInput, fStore))
    {
        LoggerLogMessage(kLogTrace, "Skipping embedded document...\n");
    }
    else if (line.OpensWith("%%Trailer"))
    {
        fTrailerWasSeen = true;
        SpoolTrailer(text);
    }
    else if (line.OpensWith("%%Page:"))
    {
        SpoolPage(line);
    }
    else if (line.OpensWith("%%EOF") && !fTrailerWasSeen)
    {
        SpoolTrailer("%%Trailer\n");
        fStore.Write(text);
    }
    else
    {
        SpoolNativeLine(line);
    }
}

void AJobSpooler::SpoolTrailer(std::string_view inText)
{
    if (fLocations)
    {
        fLocations->fTrailer = fStore.GetPosition();
    }
    fStore.Write(inText);
}

void AJobSpooler::SpoolNativeLine(const AJobLine& inLine)
{
    const bool isNative = GetSettingsStore().fIsNativePostScript;
    if (isNative && inLine.Holds(kBeginFeature))
    {
        SpoolFeature(inLine);
    }
    else if (inLine.Holds(kBeginNonPPDFeature))
    {
        CheckCopies(inLine.GetVisibleText());
        isNative ? SpoolNonPPDFeature(inLine) : static_cast<void>(fStore.Write(inLine.fText));
    }
    else if (isNative && inLine.Holds(kBeginSubsetFont))
    {
        SpoolSubsetFont(inLine);
    }
    else
    {
        fStore.Write(inLine.fText);
    }
}

void AJobSpooler::SpoolPage(const AJobLine& inLine)
{
    const std::string_view text = inLine.GetVisibleText();
    const bool isNative = GetSettingsStore().fIsNativePostScript;
    LoggerLogMessage(kLogTrace, "Found page invocation in line %.*s", static_cast<int>(text.size()), text.data());
    const auto page = isNative ? PSF::GetPageInfoFromPSPageInvocation(text) : std::nullopt;
    if (page && fNumberOfPages != 0 && static_cast<unsigned>(page->fOrdinal) == fNumberOfPages)
    {
        SpoolRepeatedPage(inLine.fText);
        return;
    }
    if (fLocations)
    {
        fLocations->fPages.push_back(fStore.GetPosition());
    }
    ++fNumberOfPages;
    LoggerLogMessage(kLogTrace, isNative ? "Increased page number to %d (pictw)\n" : "Increased page number to %d\n",
                     static_cast<int>(fNumberOfPages));
    fStore.Write(inLine.fText);
}

/// The mark stands before the line's end.
void AJobSpooler::SpoolRepeatedPage(std::string_view inText)
{
    const std::size_t end = inText.find_last_not_of("\r\n") + 1;
    fStore.Write(inText.substr(0, end));
    fStore.Write(kRepeatedPageMark);
    fStore.Write(inText.substr(end));
}

void AJobSpooler::BeginBlock(std::string_view inText)
{
    fBlockStart = fFeaturesText.size();
    fBlockFits = true;
    Collect(inText);
}

/// A block that takes too much is left out whole: half of one would be no PostScript.
void AJobSpooler::Collect(std::string_view inText)
{
    fBlockFits = fBlockFits && fFeaturesText.size() + inText.size() <= kMostFeaturesText;
    if (fBlockFits)
    {
        fFeaturesText += inText;
    }
    else
    {
        fFeaturesText.resize(fBlockStart);
    }
}

void AJobSpooler::SpoolFeature(const AJobLine& inLine)
{
    // The cleaned pages are turned by the job's own code already.
    const bool isDropped = fWillBeCleaned && GetSettingsStore().fRotate180 && inLine.Holds("VXRotate180");
    BeginBlock("[{\n");
    ABlockReader block(fInput);
    AJobLine line = inLine;
    do
    {
        Collect(line.fText);
        if (!isDropped)
        {
            fStore.Write(line.fText);
        }
    } while (block.ReadLine(line));
    Collect("\n} stopped cleartomark\n");
}

void AJobSpooler::SpoolNonPPDFeature(const AJobLine& inLine)
{
    BeginBlock("");
    ABlockReader block(fInput, kEndNonPPDFeature);
    AJobLine line = inLine;
    do
    {
        Collect(line.fText);
        fStore.Write(line.fText);
    } while (block.ReadLine(line));
}

void AJobSpooler::SpoolSubsetFont(const AJobLine& inLine)
{
    fStore.Writef("%s:%d\n", "%%FontSubstitute", fSubsetFontIndex++);
    ABlockReader block(fInput, kEndSubsetFont);
    AJobLine line = inLine;
    do
    {
        fStore.Write(line.fText);
    } while (block.ReadLine(line));
}

/// A document that carries its own number of copies holds one; a native one that asks for a single copy is taken to
/// hold them all.
void AJobSpooler::CheckCopies(std::string_view inLine)
{
    const auto copies = inLine.find("NumCopies") != std::string_view::npos ? GetStatedCopies(inLine) : std::nullopt;
    ASettingsStore& settings = GetSettingsStore();
    if (copies && (settings.fIsNativePostScript || *copies >= 2))
    {
        settings.fCollate = *copies < 2;
    }
}
