#pragma once

#include <string>
#include <vector>

#include "Foundation/CupsFile.h"
#include "Foundation/FilterObject.h"

/// Rewrites a job into a clean form by the system's CUPS filters: PostScript to PDF, then PDF back to PostScript.
///
/// The two conversions clean the job and nothing more: of the options only the page size and the choice of the renderer
/// reach them, and no printer description does, since they would write its default features into the job.
class ADocumentNormalizer final : public AFilterObject
{
public:
    /// Makes ioFile, an open file of a stored job, the clean job. On false ioFile holds the job that it held. Either
    /// way it stands at its start.
    [[nodiscard]] bool NormalizeDocument(ACupsFile& ioFile);

    /// The errno of the first write to a temporary file of ours that failed; 0: none did.
    [[nodiscard]] int GetStorageError() const { return fStorageError; }

private:
    [[nodiscard]] bool Convert(ACupsFile& ioFile, ACupsFile& outClean);
    [[nodiscard]] int MakePDF(ACupsFile& ioFile, ACupsFile& outPDF);
    [[nodiscard]] bool CopyWithoutCopies(ACupsFile& ioFile, ACupsFile& outCopy);

    int fStatus = -1; ///< of the last conversion, as waitpid gives it
    int fStorageError = 0;
};

/// The options that a conversion gets, as an option string: "media" and "PageSize" of the job, or the default page size
/// of its printer description, and "pdftops-renderer".
[[nodiscard]] std::string MakeConversionOptions();
