#pragma once

#include <optional>
#include <string>

#include "Foundation/EmbeddedDocumentTracker.h"
#include "Foundation/FilterObject.h"
#include "Foundation/PageList.h"

/// The second pass over a stored job: finds the offsets of its pages and of its trailer, and pads it with blank pages.
/// Where feature blocks have to go back into the job, the job is rewritten on the way.
class APageScanner final : public AFilterObject
{
public:
    /// Reads ioStore from where it stands. outRewritten is the file that the offsets will be of; null: ioStore itself.
    APageScanner(ACupsFile& ioStore, ACupsFile* outRewritten, APageList& ioPages)
        : fStore(ioStore), fRewritten(outRewritten), fPages(ioPages)
    {
    }

    /// Fills the list with pages whose places are known, without reading the job.
    void Take(APageLocations inLocations);

    /// Fills the list. inFeaturesText goes in front of the end of the setup or, without one, of the first page.
    void Scan(std::string inFeaturesText);

private:
    void ScanLine(const AJobLine& inLine);
    void ScanPage(const AJobLine& inLine, std::int64_t inOffset);
    [[nodiscard]] bool IsRepeatedPage(const AJobLine& inLine);
    [[nodiscard]] bool IsCopyBoundary() const;
    void AddPage(std::int64_t inOffset);
    void AddBlankPages();
    void CloseCopy();
    void Arrange();
    void CompleteLastSheet();
    [[nodiscard]] std::int64_t GetOffsetOf(const AJobLine& inLine) const;

    ACupsFile& fStore;
    ACupsFile* fRewritten;
    APageList& fPages;
    AEmbeddedDocumentTracker fEmbedded;
    std::string fFeaturesText;
    unsigned fPageIndex = 0;
    std::optional<int> fLastOrdinal; ///< none before the first page of a copy
};

/// Copies a stored job, the feature blocks in front of the end of its setup or, without one, of its first page.
void CopyWithFeatures(ACupsFile& ioStore, ACupsFile& outCopy, std::string_view inFeaturesText);
