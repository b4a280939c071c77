#pragma once

#include "Foundation/CupsFile.h"

inline constexpr std::string_view kBeginFeature = "%%BeginFeature:";
inline constexpr std::string_view kEndFeature = "%%EndFeature";

// What a print dialog writes for settings that no printer description knows, such as the number of copies.
inline constexpr std::string_view kBeginNonPPDFeature = "%RBIBeginNonPPDFeature";
inline constexpr std::string_view kEndNonPPDFeature = "%RBIEndNonPPDFeature";

/// Reads on in a file, from behind the line that begins a block, to the line that ends it.
///
/// A block whose end is missing ends before the line that can no longer belong to it: the next page, the end of the
/// setup, the trailer, the end of the job; a feature block also before another feature. So a missing end costs the
/// block, not the job.
class ABlockReader
{
public:
    /// The block ends with the line that holds inEnd. Longer lines come in pieces of inBufferSize - 1 bytes.
    explicit ABlockReader(ACupsFile& ioInput, std::string_view inEnd = kEndFeature,
                          std::size_t inBufferSize = kLineBufferSize)
        : fInput(ioInput), fEnd(inEnd), fBufferSize(inBufferSize)
    {
    }

    /// False behind the last line of the block.
    [[nodiscard]] bool ReadLine(AJobLine& outLine);

    /// Reads what is left of the block.
    void Skip();

    /// True when the line that was read last ends the block.
    [[nodiscard]] bool IsAtEnd() const { return fIsAtEnd; }

private:
    [[nodiscard]] bool IsForeign(const AJobLine& inLine) const;

    ACupsFile& fInput;
    std::string_view fEnd;
    std::size_t fBufferSize;
    bool fIsAtEnd = false;
};
