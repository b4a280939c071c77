#include "Foundation/PagesManager.h"

#include <algorithm>
#include <utility>

#include "Foundation/DocumentNormalizer.h"
#include "Foundation/JobSpooler.h"
#include "Foundation/PageScanner.h"
#include "Foundation/ProcessWide.h"
#include "Imaging/Logger.h"
#include "Imaging/NumberText.h"
#include "Imaging/PPDKeywords.h"

APagesManager& APagesManager::GetInstance()
{
    return AProcessWide<APagesManager>::Get();
}

bool APagesManager::Initialize(ACupsFile& ioInput)
{
    if (GetSettingsStore().GetPPDFile() == nullptr)
    {
        return false;
    }
    CheckPagesPerSheet();
    CheckNumberOfCopies();
    fBookletReorderer.Initialize();
    fManualDuplexReorderer.Initialize();
    CheckPortrait();
    CheckNeeds();
    if (IsApplicable())
    {
        StoreInputInFile(ioInput);
    }
    CalculateNumberOfPages();
    return fStorageError == 0;
}

void APagesManager::CheckPagesPerSheet()
{
    const AOptionValue rows = GetCUPSOption(kPMLayoutRows);
    const AOptionValue columns = GetCUPSOption(kPMLayoutColumns);
    if (rows && columns)
    {
        fPages.fPagesPerSheet = static_cast<unsigned>(MultiplyCounts(*rows, *columns));
    }
    LoggerLogMessage(kLogTrace, "Pages per sheet - %d\n", static_cast<int>(fPages.fPagesPerSheet));
}

void APagesManager::CheckNumberOfCopies()
{
    fPages.fNumberOfCopies = static_cast<unsigned>(std::clamp(GetSettingsStore().GetRequestedCopies(), 1LL, 9999LL));
}

/// Two booklet pages share one sheet that is turned a quarter.
void APagesManager::CheckPortrait()
{
    ASettingsStore& settings = GetSettingsStore();
    const bool isUpright =
        settings.fOrientation == kPortraitOrientation || settings.fOrientation == kReversePortraitOrientation;
    settings.fPortrait = isUpright != settings.fBooklet;
    LoggerLogMessage(kLogTrace, "Orientation - %s\n", settings.fPortrait ? "portrait" : "landscape");
}

void APagesManager::CheckNeeds()
{
    const ASettingsStore& settings = GetSettingsStore();
    fReorderNeeded =
        settings.fManualDuplex || settings.fBooklet || settings.fDuplexFaceUp || settings.fFinishingInOrder;
    fScanPagesNeeded =
        fReorderNeeded || settings.fFirstPageDifferent || settings.fIsDuplex || settings.fWatermarkFirstPageOnly;
    fNormalizeNeeded = settings.fIsNativePostScript && (fScanPagesNeeded || settings.fWatermarksOn);
}

void APagesManager::StoreInputInFile(ACupsFile& ioInput)
{
    if (fTempFile.OpenTemporaryFile())
    {
        AJobSpooler spooler(ioInput, fTempFile, fNormalizeNeeded);
        spooler.Spool();
        fPages.fOriginalNumberOfPages = spooler.GetNumberOfPages();
        fFeaturesText = spooler.TakeFeaturesText();
        fLocations = spooler.TakeLocations();
        fTempFile.Rewind();
        fStorageError = fTempFile.GetWriteError();
    }
    else
    {
        fTempFile = ioInput;
    }
    fPages.fFinalNumberOfPages = fPages.fOriginalNumberOfPages;
}

bool APagesManager::ReorderPages(ACupsFile& ioInput)
{
    if (!IsApplicable())
    {
        return true;
    }
    // What cannot be read twice must not be read before the iterator does.
    bool isReady = fTempFile.SetPosition(0, SEEK_SET) == 0 && (!fNormalizeNeeded || Normalize());
    if (isReady && fScanPagesNeeded)
    {
        ScanPages();
        RunReorderers();
    }
    else if (isReady)
    {
        RestoreFeatures();
    }
    CalculateNumberOfPages();
    isReady = isReady && fPages.fFinalNumberOfPages != 0;
    if (!isReady)
    {
        fPages.fOffsets.clear();
    }
    ioInput = fTempFile;
    ioInput.Rewind();
    fStorageError = fStorageError != 0 ? fStorageError : fTempFile.GetReadError();
    return isReady;
}

bool APagesManager::Normalize()
{
    ADocumentNormalizer normalizer;
    const bool isNormalized = normalizer.NormalizeDocument(fTempFile);
    fStorageError = normalizer.GetStorageError();
    return isNormalized;
}

void APagesManager::ScanPages()
{
    ACupsFile rewritten;
    const bool rewrites = !fFeaturesText.empty();
    if (rewrites && !rewritten.OpenTemporaryFile())
    {
        return;
    }
    APageScanner scanner(fTempFile, rewrites ? &rewritten : nullptr, fPages);
    if (fLocations)
    {
        scanner.Take(*std::exchange(fLocations, {}));
    }
    else
    {
        scanner.Scan(std::exchange(fFeaturesText, {}));
    }
    if (rewrites && !TakeOver(rewritten))
    {
        return;
    }
    fPages.fFinalNumberOfPages = static_cast<unsigned>(fPages.fOffsets.size());
}

void APagesManager::RunReorderers()
{
    CalculateNumberOfPages();
    LoggerLogMessage(kLogTrace, "Reordering pages...\n");
    fPages.fFinalNumberOfPages = fBookletReorderer.ReorderPages();
    CalculateNumberOfPages();
    fPages.fFinalNumberOfPages = fManualDuplexReorderer.ReorderPages();
    CalculateNumberOfPages();
    fPages.fFinalNumberOfPages = fReverseReorderer.ReorderPages();
}

void APagesManager::RestoreFeatures()
{
    ACupsFile restored;
    if (fFeaturesText.empty() || !restored.OpenTemporaryFile())
    {
        return;
    }
    CopyWithFeatures(fTempFile, restored, fFeaturesText);
    fFeaturesText.clear();
    static_cast<void>(TakeOver(restored));
}

/// Makes the new file the stored job. False when it lost bytes.
bool APagesManager::TakeOver(ACupsFile& ioNewFile)
{
    ioNewFile.Rewind();
    fStorageError = ioNewFile.GetWriteError() != 0 ? ioNewFile.GetWriteError() : fTempFile.GetReadError();
    fTempFile = ioNewFile;
    return fStorageError == 0;
}

void APagesManager::CalculateNumberOfPages()
{
    const unsigned pages = fPages.fFinalNumberOfPages;
    fPages.fPagesPerCopy = pages / GetCopiesInDocument();
    LoggerLogMessage(kLogTrace, "Final number of pages = %d\n", static_cast<int>(pages));
}
