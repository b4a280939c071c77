#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

/// A place in a glyph, in points (1/72 inch): x to the right, y downwards, from where the pen stands on the baseline.
struct AOutlinePoint
{
    float fX = 0;
    float fY = 0;
};

enum class OutlineOperator
{
    kMoveTo,    ///< one point
    kLineTo,    ///< one point
    kCurveTo,   ///< a cubic curve: two control points and the end
    kClosePath, ///< no point
};

struct AOutlineStep
{
    OutlineOperator fOperator = OutlineOperator::kClosePath;
    std::array<AOutlinePoint, 3> fPoints = {}; ///< as many as the operator says
};

struct AGlyph
{
    /// False where the layout keeps room and draws nothing: a tab, a joiner, a character that no font has. (A blank is
    /// a drawn glyph without outline.)
    bool fIsDrawn = true;
    float fAdvance = 0; ///< from this glyph's pen position to the next one's, in points
    std::vector<AOutlineStep> fOutline;
};

/// One line of text, its bounds in points from its start on the baseline.
struct ATextLine
{
    std::vector<AGlyph> fGlyphs; ///< from left to right, whatever the direction of the writing
    float fBefore = 0;           ///< x of the line's start
    float fAfter = 0;            ///< x of its end
    float fAscent = 0;           ///< upwards
    float fDescent = 0;          ///< downwards
};

/// Sets a text of any length on one line, unhinted, with the scripts joined, ordered and with marks placed as they are
/// written, and with other fonts for characters that the asked font lacks.
///
/// inText is UTF-8 without NUL. inFont is a font name with style and size in points: "Helvetica Bold 48"; a name that
/// no font has stands for the most similar one.
///
/// The libraries that do this are loaded when a text is first laid out. Returns none, and logs why, when they are
/// missing or no font is installed.
[[nodiscard]] std::optional<ATextLine> LayOutText(const std::string& inText, const std::string& inFont);
