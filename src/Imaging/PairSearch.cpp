#include "Imaging/PairSearch.h"

#include <algorithm>
#include <cstring>
#include <span>

// The C library's header is not for clang, which only looks for faults here.
#if defined(__x86_64__) && !defined(__clang__) && __has_include(<sys/platform/x86.h>)
#include <sys/platform/x86.h>
#define VX_HAS_WIDE_STEPS
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
[[gnu::always_inline]] inline const char* SkipSteps(const char* inBegin, const char* inEnd,
                                                    std::span<const APairSearch::APair> inPairs)
{
    const char* at = inBegin;
    for (; inEnd - at > kStep; at += kStep)
    {
        AVector first;
        AVector second;
        std::memcpy(&first, at, kStep);
        std::memcpy(&second, at + 1, kStep);
        AVector hits{};
        for (const APairSearch::APair& pair : inPairs)
        {
            hits |= (first == pair.fFirst) & (second == pair.fSecond);
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

using ASkipSteps = const char*(const char* inBegin, const char* inEnd, std::span<const APairSearch::APair> inPairs);

const char* SkipNarrowSteps(const char* inBegin, const char* inEnd, std::span<const APairSearch::APair> inPairs)
{
    return SkipSteps(inBegin, inEnd, inPairs);
}

#ifdef VX_HAS_WIDE_STEPS

[[gnu::target("avx2")]] const char* SkipWideSteps(const char* inBegin, const char* inEnd,
                                                  std::span<const APairSearch::APair> inPairs)
{
    return SkipSteps(inBegin, inEnd, inPairs);
}

/// The C library has asked the processor already. Asking again, as the compiler's own dispatch does at every start,
/// takes longer on a virtual machine than the whole of a short job.
ASkipSteps* ChooseSkipSteps()
{
    return CPU_FEATURE_ACTIVE(AVX2) ? SkipWideSteps : SkipNarrowSteps;
}

#else

ASkipSteps* ChooseSkipSteps()
{
    return SkipNarrowSteps;
}

#endif

} // namespace

const char* APairSearch::Find(const char* inBegin, const char* inEnd) const
{
    static ASkipSteps* const skipSteps = ChooseSkipSteps();
    const char* at = inBegin;
    while (inEnd - at > 1)
    {
        at = skipSteps(at, inEnd, fPairs);
        const char* stop = at + std::min<std::ptrdiff_t>(kStep, inEnd - at - 1);
        at = std::find_if(at, stop, [this](const char& inByte) { return IsPairAt(&inByte, fPairs); });
        if (at != stop)
        {
            return at;
        }
    }
    return inEnd;
}
