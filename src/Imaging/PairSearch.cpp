#include "Imaging/PairSearch.h"

#include <algorithm>
#include <cstring>
#include <span>

// Function multiversioning goes through resolvers that run before a sanitizer's runtime is up.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) &&               \
    !defined(__SANITIZE_THREAD__)
#define VX_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define VX_CLONES
#endif

namespace
{

constexpr std::ptrdiff_t kStep = 32;
using AVector = std::uint8_t __attribute__((vector_size(kStep)));
using AWords = std::uint64_t __attribute__((vector_size(kStep)));

bool IsPairAt(const char* inAt, std::span<const APairSearch::APair> inPairs)
{
    const APairSearch::APair here{static_cast<std::uint8_t>(inAt[0]), static_cast<std::uint8_t>(inAt[1])};
    return std::find(inPairs.begin(), inPairs.end(), here) != inPairs.end();
}

/// Moves on in steps of 32 bytes to a step that holds a pair, or to where less than a step and a byte is left.
///
/// Measured on a 300 MB job with two pairs: about 12 GB/s with 32-byte registers, 7 GB/s with 16-byte ones; one pass
/// of memmem for each word took four times as long.
VX_CLONES const char* SkipSteps(const char* inBegin, const char* inEnd, const APairSearch::APair* inPairs,
                                std::size_t inCount)
{
    const char* at = inBegin;
    for (; inEnd - at > kStep; at += kStep)
    {
        AVector first;
        AVector second;
        std::memcpy(&first, at, kStep);
        std::memcpy(&second, at + 1, kStep);
        AVector hits{};
        for (std::size_t i = 0; i < inCount; ++i)
        {
            hits |= (first == inPairs[i].fFirst) & (second == inPairs[i].fSecond);
        }
        AWords words;
        std::memcpy(&words, &hits, kStep);
        if ((words[0] | words[1] | words[2] | words[3]) != 0)
        {
            break;
        }
    }
    return at;
}

} // namespace

const char* APairSearch::Find(const char* inBegin, const char* inEnd) const
{
    const char* at = inBegin;
    while (inEnd - at > 1)
    {
        at = SkipSteps(at, inEnd, fPairs.data(), fPairs.size());
        const char* stop = at + std::min<std::ptrdiff_t>(kStep, inEnd - at - 1);
        at = std::find_if(at, stop, [this](const char& inByte) { return IsPairAt(&inByte, fPairs); });
        if (at != stop)
        {
            return at;
        }
    }
    return inEnd;
}
