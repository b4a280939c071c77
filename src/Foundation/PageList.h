#pragma once

#include <cstdint>
#include <deque>
#include <string_view>

/// Offsets of pages in a stored job, in bytes: of the first byte of each page's "%%Page:" line.
using APageOffsets = std::deque<std::int64_t>;

inline constexpr std::int64_t kBlankPage = -1; ///< instead of an offset: an empty side
inline constexpr std::int64_t kGuidePage = -2; ///< instead of an offset: the guide for turning the stack

/// Stands in the comment of a page that repeats the one before it, in the stored job of an application: the page goes
/// where that one goes.
inline constexpr std::string_view kRepeatedPageMark = "(excessive)";

/// Where the comments of a stored job are that part its pages.
struct APageLocations
{
    APageOffsets fPages;
    std::int64_t fTrailer = 0; ///< 0: none
};

/// The pages of a job in output order, and how many there are of what.
struct APageList
{
    APageOffsets fOffsets;
    std::int64_t fTrailerOffset = 0;     ///< of the "%%Trailer" line; 0: none
    unsigned fOriginalNumberOfPages = 0; ///< counted while the job was stored
    unsigned fFinalNumberOfPages = 1;    ///< that will be output
    unsigned fPagesPerCopy = 1;
    unsigned fNumberOfCopies = 1; ///< that were asked for; 1 to 9999
    unsigned fPagesPerSheet = 1;  ///< N-up

    /// Copies that the document itself holds: those asked for when it is collated, unless its pages cannot be that many
    /// copies.
    [[nodiscard]] unsigned GetCopiesInDocument(bool inIsCollated) const
    {
        return inIsCollated && fOriginalNumberOfPages % fNumberOfCopies == 0 ? fNumberOfCopies : 1;
    }
};
