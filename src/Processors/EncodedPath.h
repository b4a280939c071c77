#pragma once

#include <string>
#include <string_view>

#include "Imaging/TextLine.h"

/// The box that everything drawn must stay in, in points, y upwards.
struct APathBounds
{
    float fLeft = 0;
    float fBottom = 0;
    float fRight = 0;
    float fTop = 0;

    /// For a line of text: its own bounds, widened on each side by a tenth of its size and 100 points.
    [[nodiscard]] static APathBounds Around(const ATextLine& inLine);
};

/// Writes a line of text as encoded user paths (PLRM 3, section 4.6.2), one a glyph: an array of numbers and a string
/// of operator codes. Arithmetic is in single precision.
class AEncodedPath
{
public:
    /// inPaint is the operator behind each path: "ufill" or "ustroke".
    AEncodedPath(const APathBounds& inBounds, std::string_view inPaint) : fBounds(inBounds), fPaint(inPaint) {}

    /// Encodes the next glyph of the line. False when it begins beyond the right bound: the line ends before it.
    [[nodiscard]] bool Encode(const AGlyph& inGlyph);

    /// The PostScript of the glyph encoded last, empty when it was dropped because an outline of its begins out of
    /// bounds. Valid until the next one is encoded.
    [[nodiscard]] std::string_view GetText() const { return fText; }

private:
    void Begin();
    [[nodiscard]] bool StepPen();
    void Append(const AOutlineStep& inStep);
    void MoveTo(AOutlinePoint inPoint);
    void LineTo(AOutlinePoint inPoint);
    void CurveTo(const std::array<AOutlinePoint, 3>& inPoints);
    bool AppendStep(AOutlinePoint inStep);
    [[nodiscard]] bool MatchBounds(AOutlinePoint& ioStep) const;
    void End();

    APathBounds fBounds;
    std::string_view fPaint;
    AOutlinePoint fPen;      ///< where the next glyph stands on the line
    float fPenX = 0;         ///< where the glyph that is being encoded stands
    AOutlinePoint fCurrent;  ///< last point of the outline, y downwards
    bool fIsDropped = false; ///< an outline of the glyph begins out of bounds
    std::string fOperands;
    std::string fOperators;
    std::string fText;
};
