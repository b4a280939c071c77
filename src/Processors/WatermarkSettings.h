#pragma once

#include <string>

enum class WatermarkMode
{
    kWatermark = 1, ///< under the page's content
    kOverlay = 2,   ///< over it
};

enum class WatermarkStyle
{
    kThin = 0,
    kMedium = 1,
    kThick = 2,
    kHalo = 3, ///< a coloured outline on a wider white one
    kFill = 4,
};

/// Colour of the text, each component from 0 to 1.
struct AWatermarkColor
{
    float fCyan = 0;
    float fMagenta = 0;
    float fYellow = 0;
    float fBlack = 1;
};

/// How the job's options want its mark.
struct AWatermarkSettings
{
    /// Reads the options of the job. A value that is not known leaves its default, without a word.
    [[nodiscard]] static AWatermarkSettings Read();

    /// The font as the layout takes it: name, style and size.
    [[nodiscard]] std::string GetFont() const;

    void Log() const;

    WatermarkMode fMode = WatermarkMode::kOverlay;
    bool fIsOnFirstPageOnly = false;
    std::string fText = "Draft"; ///< UTF-8, never empty
    int fAngle = 45;             ///< degrees, counter-clockwise
    std::string fFontName;       ///< with its style; empty: none was asked for
    int fFontSize = 48;          ///< points, up to 2000; 0 stands for 48
    AWatermarkColor fColor;
    WatermarkStyle fStyle = WatermarkStyle::kMedium;
    float fBrightness = 0.55F; ///< every component of the colour is multiplied by it
    bool fIsForColor = false;  ///< for the log only
};
