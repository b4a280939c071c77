#pragma once

#include "Foundation/CupsFile.h"
#include "Foundation/PagesManager.h"

/// What the document iterator pulls the job through: its lines in their order, and the number of the page they are on.
class AFileReader
{
public:
    /// Neither is owned; both must outlive the reader.
    AFileReader(ACupsFile& ioFile, const APagesManager& inPagesManager) : fFile(ioFile), fPagesManager(inPagesManager)
    {
    }
    AFileReader(const AFileReader&) = delete;
    AFileReader& operator=(const AFileReader&) = delete;
    virtual ~AFileReader() = default;

    /// The next line, whatever it holds. Sets outIsEOF with the last one.
    [[nodiscard]] virtual AJobLine ReadLine(bool& outIsEOF);

    /// Copies what stands before the next line with a needle, and reads that line; see ALineStream::CopyToLine.
    [[nodiscard]] virtual AJobLine CopyToLine(const ALineNeedles& inNeedles, ACupsFile& outCopy, bool& outIsEOF);

    /// The texts without which a line does not matter to this reader itself.
    [[nodiscard]] virtual std::vector<std::string> GetOwnNeedles() const;

    /// The logical page number within one copy; 0 before the first page.
    [[nodiscard]] unsigned GetCurrentPageNumber() const { return fCurrentPageNumber; }

    [[nodiscard]] ACupsFile& GetFile() { return fFile; }

protected:
    void CheckPageNumber(const AJobLine& inLine);
    void SetCurrentPageNumber(unsigned inNumber) { fCurrentPageNumber = inNumber; }
    [[nodiscard]] const APagesManager& GetPagesManager() const { return fPagesManager; }

private:
    AJobLine Note(AJobLine inLine);

    ACupsFile& fFile;
    const APagesManager& fPagesManager;
    unsigned fCurrentPageNumber = 0;
};

/// The number within its copy of the page with this ordinal: counted from the end when the filter reverses the pages.
[[nodiscard]] unsigned GetLogicalPageNumber(unsigned inOrdinal, unsigned inPagesPerCopy, bool inIsReversed);
