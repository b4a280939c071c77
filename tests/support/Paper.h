#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "TemporaryFolder.h"

/// A page of a numbered document as it lies on a side of paper.
struct APrintedPage
{
    int fNumber = 0;
    char fTurn = '^'; ///< where its head points: ^ < > v
    bool fIsMirrored = false;
    double fX = 0; ///< middle of the number, in points from the side's top left corner
    double fY = 0;
    double fScale = 1; ///< of the size that the document gave it
};

/// A side of paper, as Ghostscript draws it.
struct ASide
{
    double fWidth = 0; ///< points
    double fHeight = 0;
    std::vector<APrintedPage> fPages;
    std::vector<std::string> fWords; ///< all that can be read, the pages' own numbers and letters too
    double fInk = 0;                 ///< part of the side that is covered with black, 0 to 1
    double fColour = 0;              ///< the same for other inks, all together
    std::string fDevice;             ///< "tray=1 manual=false duplex=true tumble=false copies=1 size=595x842"

    [[nodiscard]] bool Holds(std::string_view inDevice) const { return fDevice.find(inDevice) != std::string::npos; }
};

/// Draws a job as the printer would and reads the sides in the order in which they come. Fails the test when it cannot
/// be drawn.
[[nodiscard]] std::vector<ASide> ReadSides(const std::string& inJobPath);

/// A document whose pages bear their number, and at the lower left a letter: a for page 1 and so on, at most 26.
/// A4 unless another size is given in points.
[[nodiscard]] std::string MakeNumberedPDF(const ATemporaryFolder& inFolder, int inPages, int inWidth = 595,
                                          int inHeight = 842);

/// The same as PostScript with comments about its structure, as an application makes it.
[[nodiscard]] std::string MakeNumberedPostScript(const ATemporaryFolder& inFolder, int inPages);

/// "3" an upright page, "3v" "3<" "3>" one with its head elsewhere, "3m" a mirrored one, "B" a blank side, "G" a side
/// with something else on it; pages of one side are joined by "+" in reading order.
[[nodiscard]] std::string ShowSides(const std::vector<ASide>& inSides);

/// Left and right half of each sheet side, as seen when the sheet is turned by a quarter: "8 1 | 2 7".
[[nodiscard]] std::string ShowBooklet(const std::vector<ASide>& inSides);

/// The paper source of each side, joined by blanks: a tray's position, "manual", or "none" where none was asked for.
[[nodiscard]] std::string ShowTrays(const std::vector<ASide>& inSides);

/// How each side is printed: "one" sided, or on a sheet that is turned over its "long" or "short" edge.
[[nodiscard]] std::string ShowDuplex(const std::vector<ASide>& inSides);

/// "colour" or "gray" for each side.
[[nodiscard]] std::string ShowColours(const std::vector<ASide>& inSides);
