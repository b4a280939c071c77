#include "Processors/EncodedPath.h"

#include <algorithm>

#include "Imaging/NumberText.h"

namespace
{

constexpr std::string_view kBeginOperators = "< 00 01\n"; // setbbox, moveto
constexpr std::string_view kRMoveTo = " 02";
constexpr std::string_view kRLineTo = " 04";
constexpr std::string_view kRCurveTo = " 06";
constexpr std::string_view kClosePath = " 0A\n";

constexpr float kMargin = 100;
constexpr float kMarginPart = 0.1F;

void AppendOperand(std::string& ioText, float inValue)
{
    ioText += ' ';
    AppendNumber(ioText, inValue);
}

/// The way from the current point, y upwards.
AOutlinePoint StepTo(AOutlinePoint inPoint, AOutlinePoint inCurrent)
{
    return {inPoint.fX - inCurrent.fX, -(inPoint.fY - inCurrent.fY)};
}

} // namespace

APathBounds APathBounds::Around(const ATextLine& inLine)
{
    const float width = inLine.fAfter - inLine.fBefore;
    const float height = inLine.fAscent + inLine.fDescent;
    return {inLine.fBefore - kMarginPart * width - kMargin, -inLine.fDescent - kMarginPart * height - kMargin,
            inLine.fAfter + kMarginPart * width + kMargin, inLine.fAscent + kMarginPart * height + kMargin};
}

bool AEncodedPath::Encode(const AGlyph& inGlyph)
{
    Begin();
    if (inGlyph.fIsDrawn && !StepPen())
    {
        return false;
    }
    for (const AOutlineStep& step : inGlyph.fOutline)
    {
        Append(step);
    }
    // The advance is a vector: its y of 0 makes the negated 0 of the pen a positive one again.
    fPen = {fPen.fX + inGlyph.fAdvance, fPen.fY + 0.0F};
    End();
    return true;
}

void AEncodedPath::Begin()
{
    fText.clear();
    fCurrent = {};
    fIsDropped = false;
    fOperands = "{ {";
    for (const float bound : {fBounds.fLeft, fBounds.fBottom, fBounds.fRight, fBounds.fTop})
    {
        AppendOperand(fOperands, bound);
    }
    fOperands += " 0 0\n";
    fOperators = kBeginOperators;
}

/// False when the pen is beyond the right bound.
bool AEncodedPath::StepPen()
{
    if (fPen.fX == 0 && fPen.fY == 0)
    {
        return true;
    }
    if (fPen.fX > fBounds.fRight)
    {
        return false;
    }
    fPen.fY = -fPen.fY;
    fPenX = fPen.fX;
    AppendOperand(fOperands, fPen.fX);
    AppendOperand(fOperands, fPen.fY);
    fOperators += kRMoveTo;
    return true;
}

void AEncodedPath::Append(const AOutlineStep& inStep)
{
    switch (inStep.fOperator)
    {
    case OutlineOperator::kMoveTo:
        MoveTo(inStep.fPoints[0]);
        break;
    case OutlineOperator::kLineTo:
        LineTo(inStep.fPoints[0]);
        break;
    case OutlineOperator::kCurveTo:
        CurveTo(inStep.fPoints);
        break;
    case OutlineOperator::kClosePath:
        fOperators += kClosePath;
        break;
    }
}

void AEncodedPath::MoveTo(AOutlinePoint inPoint)
{
    const bool isInside = AppendStep(StepTo(inPoint, fCurrent));
    fIsDropped = fIsDropped || !isInside;
    fCurrent = inPoint;
    fOperators += kRMoveTo;
}

void AEncodedPath::LineTo(AOutlinePoint inPoint)
{
    AppendStep(StepTo(inPoint, fCurrent));
    fCurrent = inPoint;
    fOperands += '\n';
    fOperators += kRLineTo;
}

/// All three points are relative to the point before the curve.
void AEncodedPath::CurveTo(const std::array<AOutlinePoint, 3>& inPoints)
{
    for (const AOutlinePoint& point : inPoints)
    {
        AppendStep(StepTo(point, fCurrent));
    }
    fCurrent = inPoints.back();
    fOperands += '\n';
    fOperators += kRCurveTo;
}

/// False when the step had to be clamped.
bool AEncodedPath::AppendStep(AOutlinePoint inStep)
{
    const bool isInside = MatchBounds(inStep);
    AppendOperand(fOperands, inStep.fX);
    AppendOperand(fOperands, inStep.fY);
    return isInside;
}

/// Compares a relative step with the absolute bounds: a rough test that no glyph of an ordinary text fails.
bool AEncodedPath::MatchBounds(AOutlinePoint& ioStep) const
{
    const AOutlinePoint asked = ioStep;
    const bool isBeyondRight = asked.fX + fPenX > fBounds.fRight;
    if (isBeyondRight)
    {
        ioStep.fX = fBounds.fRight - fPenX;
    }
    else
    {
        ioStep.fX = std::max(asked.fX, fBounds.fLeft);
    }
    ioStep.fY = std::clamp(asked.fY, fBounds.fBottom, fBounds.fTop);
    return !isBeyondRight && ioStep.fX == asked.fX && ioStep.fY == asked.fY;
}

void AEncodedPath::End()
{
    if (!fIsDropped)
    {
        fText.append(fOperands).append(" }\n").append(fOperators).append(" >\n } ").append(fPaint).append("\n");
    }
}
