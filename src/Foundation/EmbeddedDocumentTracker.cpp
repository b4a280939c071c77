#include "Foundation/EmbeddedDocumentTracker.h"

#include "Imaging/Logger.h"

const std::vector<std::string>& AEmbeddedDocumentTracker::GetNeedles()
{
    static const std::vector<std::string> needles = {"%%BeginDocument", "%!PS-Adobe", "%%EndDocument", "%%EOF"};
    return needles;
}

void AEmbeddedDocumentTracker::AnalyzePostScriptLine(const AJobLine& inLine)
{
    const bool isInEPS = fDepth == 1 && fOutermostIsEPS;
    if (inLine.Holds("%%BeginDocument"))
    {
        fOutermostIsEPS = fOutermostIsEPS && fDepth != 0;
        ++fDepth;
    }
    else if (inLine.Holds("%!PS-Adobe") && inLine.Holds("EPSF"))
    {
        // A header right behind "%%BeginDocument" belongs to that document.
        if (fDepth == 0)
        {
            fDepth = 1;
            fOutermostIsEPS = true;
        }
    }
    else if (inLine.Holds("%%EndDocument") || (isInEPS && inLine.OpensWith("%%EOF")))
    {
        fEndSeen = true;
    }
    fDocumentSeen = fDocumentSeen || fDepth != 0 || fEndSeen;
}

bool AEmbeddedDocumentTracker::IsInsideEmbeddedDocument()
{
    if (fEndSeen)
    {
        fEndSeen = false;
        if (fDepth == 0)
        {
            LoggerLogMessage(kLogTrace, "Embedded document depth less then zero.\n");
        }
        else
        {
            --fDepth;
        }
    }
    return fDepth != 0;
}

bool AEmbeddedDocumentTracker::SkipEmbeddedDocument(const AJobLine& inLine, ACupsFile& ioInput, ACupsFile& outOutput)
{
    AnalyzePostScriptLine(inLine);
    if (!IsInsideEmbeddedDocument())
    {
        return false;
    }
    static const ALineNeedles needles(GetNeedles());
    outOutput.Write(inLine.GetVisibleText());
    bool isEOF = false;
    while (IsInsideEmbeddedDocument() && !isEOF)
    {
        const AJobLine line = ioInput.CopyToLine(needles, &outOutput, isEOF);
        AnalyzePostScriptLine(line);
        outOutput.Write(line.fText);
    }
    return true;
}
