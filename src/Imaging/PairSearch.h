#pragma once

#include <cstdint>
#include <vector>

/// Finds the next place in a buffer where one of a few two-byte pairs stands, at memory speed.
///
/// Whoever looks for one of several words gives the first two bytes of each and compares the rest at the places found.
/// In the page content of a job such places are rare, so that a search costs little more than touching the bytes.
class APairSearch
{
public:
    struct APair
    {
        std::uint8_t fFirst;
        std::uint8_t fSecond;
        bool operator==(const APair&) const = default;
    };

    APairSearch() = default;
    explicit APairSearch(std::vector<APair> inPairs) : fPairs(std::move(inPairs)) {}

    /// The first place in [inBegin, inEnd) where a pair stands with both bytes inside the range, or inEnd.
    [[nodiscard]] const char* Find(const char* inBegin, const char* inEnd) const;

private:
    std::vector<APair> fPairs;
};
