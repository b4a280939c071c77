#pragma once

#include <cstddef>
#include <string_view>

/// What stands on a line before a piece of it.
enum class ALineStart
{
    kAtLineStart, ///< nothing: the piece opens its line
    kAfterBlanks, ///< earlier pieces of nothing but bytes up to 0x20
    kInsideLine,  ///< earlier pieces with other bytes
};

/// One line of a job with its line end, or one piece of a line that is longer than the line buffer.
///
/// A carriage return and a line feed each end a line (a CR LF makes two lines, the second one of a line feed only).
/// Comparisons see a line as a C string: up to its first NUL.
struct AJobLine
{
    std::string_view fText; ///< valid until the file it was read from is read again
    ALineStart fStart = ALineStart::kAtLineStart;

    /// The text up to its first NUL.
    [[nodiscard]] std::string_view GetVisibleText() const { return fText.substr(0, fText.find('\0')); }

    /// True when the comment is the first thing on the line, after nothing but bytes up to 0x20. Pages show such texts
    /// ("(%%Trailer) show"), and converters' prologs hold them in the middle of a line of code.
    [[nodiscard]] bool HoldsComment(std::string_view inComment) const;

    /// True when the line starts with the comment in its very first column.
    [[nodiscard]] bool OpensWith(std::string_view inComment) const
    {
        return fStart == ALineStart::kAtLineStart && GetVisibleText().starts_with(inComment);
    }

    /// True when the text stands anywhere on the line or, if it is a DSC comment ("%%..."), opens it.
    [[nodiscard]] bool Holds(std::string_view inText) const
    {
        return IsComment(inText) ? HoldsComment(inText) : GetVisibleText().find(inText) != std::string_view::npos;
    }

    [[nodiscard]] static bool IsComment(std::string_view inText) { return inText.starts_with("%%"); }
};

/// The stated line buffer: 8192 bytes with the closing NUL, so longer lines come in pieces of 8191 bytes.
inline constexpr std::size_t kLineBufferSize = 8192;

/// True for the bytes that may stand before a DSC comment on its line.
[[nodiscard]] constexpr bool IsBlankByte(char inByte)
{
    return static_cast<unsigned char>(inByte) <= 0x20;
}

[[nodiscard]] constexpr bool IsLineEnd(char inByte)
{
    return inByte == '\n' || inByte == '\r';
}

[[nodiscard]] bool IsBlank(std::string_view inText);
