#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Foundation/JobLine.h"
#include "Imaging/PairSearch.h"

/// The literal texts one of which a line must hold to be worth looking at.
///
/// A line without any of them can be copied unread; a line that is found may still turn out not to matter (the search
/// reports too many lines rather than too few: it does not see a NUL before the text).
class ALineNeedles
{
public:
    ALineNeedles() = default;
    explicit ALineNeedles(const std::vector<std::string>& inTexts);

    struct AFound
    {
        std::size_t fOffset; ///< of the needle, from the start of the data; npos: none found
        std::size_t fLength; ///< of the needle, in bytes
    };

    /// The first needle in the data at or after inFrom. inStart says what stands on the line before the data.
    [[nodiscard]] AFound Find(std::string_view inData, std::size_t inFrom, ALineStart inStart) const;

    /// True when every line matters (an empty needle is held by all of them).
    [[nodiscard]] bool MatchEveryLine() const { return fMatchEveryLine; }

    /// Bytes of the longest needle.
    [[nodiscard]] std::size_t GetLongest() const { return fLongest; }

private:
    /// The length of the shortest needle at the place, 0 when there is none: where a longer one is cut off by the end
    /// of a piece, the shorter one may still be whole.
    [[nodiscard]] std::size_t GetMatchLength(std::string_view inData, std::size_t inAt, ALineStart inStart) const;

    std::vector<std::string> fTexts;
    std::size_t fLongest = 0;
    bool fMatchEveryLine = false;
    APairSearch fSearch;
};
