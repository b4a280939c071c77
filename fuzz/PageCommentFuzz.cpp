#include "Foundation/FileReader.h"
#include "Foundation/JobSpooler.h"
#include "FuzzSupport.h"
#include "Imaging/PostScriptText.h"

namespace
{

/// A logical page number lies in its copy, and going backwards twice leads back.
void CheckLogicalNumber(unsigned inOrdinal, unsigned inPagesPerCopy)
{
    for (const bool isReversed : {false, true})
    {
        const unsigned number = GetLogicalPageNumber(inOrdinal, inPagesPerCopy, isReversed);
        Require(number >= 1 && number <= inPagesPerCopy, "a page number lies in its copy");
    }
    const unsigned there = GetLogicalPageNumber(inOrdinal, inPagesPerCopy, true);
    Require(GetLogicalPageNumber(there, inPagesPerCopy, true) == GetLogicalPageNumber(inOrdinal, inPagesPerCopy, false),
            "twice reversed is not reversed");
}

} // namespace

void Fuzz(std::string_view inInput)
{
    Require(!GetStatedCopies(inInput) || inInput.find(':') != std::string_view::npos, "copies stand behind a colon");
    if (const auto page = PSF::GetPageInfoFromPSPageInvocation(inInput))
    {
        Require(inInput.find("%%Page:") < inInput.find('\0'), "the comment stands before a NUL");
        Require(!page->fLabel.empty() && page->fOrdinal >= 0, "a page has a label and an ordinal");
        const std::string again = "%%Page: " + std::string(page->fLabel) + " " + std::to_string(page->fOrdinal);
        const auto same = PSF::GetPageInfoFromPSPageInvocation(again);
        Require(same && same->fLabel == page->fLabel && same->fOrdinal == page->fOrdinal, "a page reads back");
        CheckLogicalNumber(static_cast<unsigned>(page->fOrdinal), static_cast<unsigned>(inInput.size() % 97) + 1);
    }
}
