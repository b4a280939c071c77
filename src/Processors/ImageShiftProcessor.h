#pragma once

#include "Processors/PostScriptProcessor.h"

/// PostScript units of a length in millimetres. The factor of an inch is a single-precision number: 25.4 mm are
/// 72.000001 units.
[[nodiscard]] double CastValueToPostScriptUnits(double inMillimetres);

/// Moves the image on the front and on the back side: fills the job's own image shift features with the printer's code
/// for the user's distances.
class AImageShiftProcessor final : public APostScriptProcessor
{
public:
    explicit AImageShiftProcessor(ADocumentIterator& ioIterator);

    [[nodiscard]] const char* GetName() const override { return "ImageShift"; }
    [[nodiscard]] bool IsApplicable() const override { return fShiftFront || fShiftBack; }
    LineProcessStatus ProcessLine(APostScriptLineInfo& ioLine) override;

private:
    /// The keys of one side.
    struct ASide
    {
        const char* fFeature;
        const char* fChoice; ///< of the keyword with the code
        const char* fX;      ///< to the right, in millimetres
        const char* fY;      ///< up, in millimetres
    };

    static const ASide kFront;
    static const ASide kBack;

    void WriteFeature();
    void ProceedShiftData(const ASide& inSide);
    [[nodiscard]] static double GetShiftValue(const char* inKey);

    bool fShiftFront;
    bool fShiftBack;
};
