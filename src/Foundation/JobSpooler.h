#pragma once

#include <optional>
#include <string>
#include <utility>

#include "Foundation/EmbeddedDocumentTracker.h"
#include "Foundation/FilterObject.h"
#include "Foundation/PageList.h"

/// The first pass over a job whose pages must be located: stores it, counts its pages and collects the feature blocks
/// that cleaning the job would lose.
///
/// Only a job that an application wrote itself is changed on the way: page comments that repeat the page before them
/// are marked "(excessive)", subset fonts get a substitution comment. Every stored job has a "%%Trailer" line before
/// its "%%EOF".
class AJobSpooler final : public AFilterObject
{
public:
    /// The files must outlive the spooler. inWillBeCleaned: the stored job goes through the normalizer.
    AJobSpooler(ACupsFile& ioInput, ACupsFile& outStore, bool inWillBeCleaned)
        : fInput(ioInput), fStore(outStore), fWillBeCleaned(inWillBeCleaned)
    {
        if (!GetSettingsStore().fIsNativePostScript)
        {
            fLocations.emplace();
        }
    }

    /// The pass. Clears or sets the collation flag of the settings store where the job states its copies.
    void Spool();

    [[nodiscard]] unsigned GetNumberOfPages() const { return fNumberOfPages; }

    /// Where the pages of the stored job are; none when that is only known once it is read: applications' own jobs
    /// repeat pages, and embedded documents hide some.
    [[nodiscard]] std::optional<APageLocations> TakeLocations()
    {
        return fEmbedded.HasSeenDocument() ? std::nullopt : std::exchange(fLocations, {});
    }

    /// The collected blocks, each PPD feature wrapped so that a device that rejects it goes on; empty without any.
    [[nodiscard]] std::string TakeFeaturesText() { return std::move(fFeaturesText); }

private:
    void SpoolLine(const AJobLine& inLine);
    void SpoolNativeLine(const AJobLine& inLine);
    void SpoolTrailer(std::string_view inText);
    void SpoolPage(const AJobLine& inLine);
    void SpoolRepeatedPage(std::string_view inText);
    void SpoolFeature(const AJobLine& inLine);
    void SpoolNonPPDFeature(const AJobLine& inLine);
    void SpoolSubsetFont(const AJobLine& inLine);
    void CheckCopies(std::string_view inLine);
    void BeginBlock(std::string_view inText);
    void Collect(std::string_view inText);

    ACupsFile& fInput;
    ACupsFile& fStore;
    bool fWillBeCleaned;
    AEmbeddedDocumentTracker fEmbedded;
    std::optional<APageLocations> fLocations;
    bool fTrailerWasSeen = false;
    unsigned fNumberOfPages = 0;
    int fSubsetFontIndex = 0;
    std::string fFeaturesText;
    std::size_t fBlockStart = 0; ///< of the last block in the collected text
    bool fBlockFits = true;
};

/// The number that a line "%RBIBeginNonPPDFeature: *NumCopies 2" states; none when it states none.
[[nodiscard]] std::optional<int> GetStatedCopies(std::string_view inLine);
