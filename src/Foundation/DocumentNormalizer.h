#pragma once

#include "Foundation/CupsFile.h"
#include "Foundation/FilterObject.h"

/// Rewrites a job into a clean form by the system's CUPS filters: PostScript to PDF, then PDF back to PostScript.
class ADocumentNormalizer final : public AFilterObject
{
public:
    /// Makes ioFile, a file that stands at its start, the clean job. On false it is as it was, rewound.
    [[nodiscard]] bool NormalizeDocument(ACupsFile& ioFile);

    /// The errno of the first write to a temporary file of ours that failed; 0: none did.
    [[nodiscard]] int GetStorageError() const { return fStorageError; }

private:
    int fStorageError = 0;
};
