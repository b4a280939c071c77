#pragma once

#include <array>
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
