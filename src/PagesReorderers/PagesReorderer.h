#pragma once

#include "Foundation/FilterObject.h"
#include "Foundation/PageList.h"

/// Base of what rearranges the pages of a job. A reorderer sees the list of pages and their counts, not where the job
/// is stored.
class APagesReorderer : public AFilterObject
{
public:
    /// The list must outlive the reorderer.
    explicit APagesReorderer(APageList& ioPages) : fPages(ioPages) {}

    /// Rearranges the list. Returns the number of pages after it: the unchanged count when there is nothing to do.
    [[nodiscard]] virtual unsigned ReorderPages() = 0;

protected:
    [[nodiscard]] APageList& GetPages() { return fPages; }
    [[nodiscard]] const APageList& GetPages() const { return fPages; }

    /// The length of the list as a count of pages.
    [[nodiscard]] unsigned CountPages() const { return static_cast<unsigned>(fPages.fOffsets.size()); }

private:
    APageList& fPages;
};
