#pragma once

#include "Foundation/CupsFile.h"
#include "Foundation/FilterObject.h"
#include "Foundation/PageList.h"
#include "PagesReorderers/BookletReorderer.h"
#include "PagesReorderers/ManualDuplexReorderer.h"
#include "PagesReorderers/ReverseReorderer.h"

/// Decides, before any processor runs, whether the job must be held in a temporary file and its pages located there, so
/// that whole pages can be emitted in another order, padded with blank ones, or read twice. Owns the list of pages that
/// the page reader follows.
class APagesManager final : public AFilterObject
{
public:
    static APagesManager& GetInstance();

    /// For GetInstance, and for a test that wants one of its own.
    APagesManager() = default;

    /// Decides what the job needs, and stores the job when it needs anything. False when no printer description is
    /// open, and when the stored copy lost bytes (see GetStorageError).
    [[nodiscard]] bool Initialize(ACupsFile& ioInput);

    /// True when the job had to be stored.
    [[nodiscard]] bool IsApplicable() const { return fScanPagesNeeded || fNormalizeNeeded; }

    /// True when the job must be read page by page along the list.
    [[nodiscard]] bool ShouldReorderPages() const { return fReorderNeeded && !fPages.fOffsets.empty(); }

    /// Cleans and scans the stored job, lets the reorderers rearrange its pages, and makes ioInput the file to read,
    /// from its start. On false ioInput holds the whole job in its old order.
    [[nodiscard]] bool ReorderPages(ACupsFile& ioInput);

    /// The errno of the first write to a temporary file, or read from one, that failed; 0: none did. A job that lost
    /// bytes must not be printed.
    [[nodiscard]] int GetStorageError() const { return fStorageError; }

    /// Pages counted while the job was stored; 0 when it was not.
    [[nodiscard]] unsigned GetOriginalNumberOfPages() const { return fPages.fOriginalNumberOfPages; }

    /// Pages that will be output, padding included.
    [[nodiscard]] unsigned GetFinalNumberOfPages() const { return fPages.fFinalNumberOfPages; }

    [[nodiscard]] unsigned GetPagesPerCopy() const { return fPages.fPagesPerCopy; }

    /// The copies argument, 1 to 9999.
    [[nodiscard]] unsigned GetNumberOfCopies() const { return fPages.fNumberOfCopies; }

    /// Copies that the document itself holds; 1 unless it is collated.
    [[nodiscard]] unsigned GetCopiesInDocument() const
    {
        return fPages.GetCopiesInDocument(GetSettingsStore().fCollate);
    }

    [[nodiscard]] unsigned GetPagesPerSheet() const { return fPages.fPagesPerSheet; }
    [[nodiscard]] const APageList& GetPages() const { return fPages; }

    [[nodiscard]] bool IsCurrentPageOfNumber(unsigned inNumber) const { return fCurrentPageNumber == inNumber; }
    void SetCurrentPageNumber(unsigned inNumber) { fCurrentPageNumber = inNumber; }

private:
    void CheckPagesPerSheet();
    void CheckNumberOfCopies();
    void CheckPortrait();
    void CheckNeeds();
    void StoreInputInFile(ACupsFile& ioInput);
    [[nodiscard]] bool Normalize();
    void ScanPages();
    void RunReorderers();
    void RestoreFeatures();
    void CalculateNumberOfPages();
    [[nodiscard]] bool TakeOver(ACupsFile& ioNewFile);

    APageList fPages;
    ABookletReorderer fBookletReorderer{fPages};
    AManualDuplexReorderer fManualDuplexReorderer{fPages};
    AReverseReorderer fReverseReorderer{fPages};
    bool fScanPagesNeeded = false;
    bool fNormalizeNeeded = false;
    bool fReorderNeeded = false;
    ACupsFile fTempFile;                      ///< the stored job; the input itself when it could not be stored
    std::optional<APageLocations> fLocations; ///< in the stored job, where they were seen while it was stored
    std::string fFeaturesText;                ///< feature blocks of the job that cleaning it loses
    unsigned fCurrentPageNumber = 0;
    int fStorageError = 0;
};
