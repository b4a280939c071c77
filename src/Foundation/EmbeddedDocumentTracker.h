#pragma once

#include <string>
#include <vector>

#include "Foundation/CupsFile.h"

/// Knows whether a line of the job lies inside an embedded document: between "%%BeginDocument" and "%%EndDocument", or
/// from the header of an EPS file to its "%%EOF" (Adobe DSC 3.0 and EPSF 3.0). What lies inside is no business of the
/// job around it: not its page comments, not its setup, not its trailer.
class AEmbeddedDocumentTracker
{
public:
    /// Takes note of a line. The line that ends a document still lies inside it: the document is closed by the next
    /// call of IsInsideEmbeddedDocument.
    void AnalyzePostScriptLine(const AJobLine& inLine);

    /// Closes a document whose end was seen, then tells.
    [[nodiscard]] bool IsInsideEmbeddedDocument();

    /// Open documents, the pending close not yet applied.
    [[nodiscard]] unsigned GetEmbeddedDocumentDepth() const { return fDepth; }

    /// True when a line opened or closed a document, even one that was not open.
    [[nodiscard]] bool HasSeenDocument() const { return fDocumentSeen; }

    /// When the line opens an embedded document: writes the line, up to its first NUL, and copies the whole document
    /// from the input to the output. Returns whether it did. A document that never ends is the rest of the job.
    bool SkipEmbeddedDocument(const AJobLine& inLine, ACupsFile& ioInput, ACupsFile& outOutput);

    /// The texts without which a line changes nothing here.
    [[nodiscard]] static const std::vector<std::string>& GetNeedles();

private:
    // An EPS header counts only outside any document, so an EPS file can only be the outermost of the open ones: their
    // number and that one fact are the whole stack.
    unsigned fDepth = 0;
    bool fOutermostIsEPS = false;
    bool fEndSeen = false;
    bool fDocumentSeen = false;
};
