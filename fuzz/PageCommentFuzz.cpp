#include <algorithm>

#include "Foundation/FileReader.h"
#include "Foundation/JobSpooler.h"
#include "FuzzSupport.h"
#include "Imaging/PostScriptText.h"

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
        const unsigned copy = static_cast<unsigned>(inInput.size() % 97) + 1;
        const unsigned number = GetLogicalPageNumber(static_cast<unsigned>(page->fOrdinal), copy, false);
        const unsigned turned = GetLogicalPageNumber(static_cast<unsigned>(page->fOrdinal), copy, true);
        const auto [lowest, highest] = std::minmax(number, turned);
        Require(lowest >= 1 && highest <= copy, "a page number lies in its copy");
        Require(GetLogicalPageNumber(turned, copy, true) == number, "twice reversed is not reversed");
    }
}
