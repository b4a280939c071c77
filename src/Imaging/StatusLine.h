#pragma once

#include <string_view>

/// Writes one CUPS status line ("INFO: ...", "ERROR: ...", filter(7)) past the logger, with one write(2).
///
/// Line feeds and carriage returns inside the text become blanks, those at its end are dropped and exactly one newline
/// ends the line, so that a text never makes a second status line. A status line that cannot be written is lost: there
/// is nowhere left to report it.
void WriteStatusLine(int inDescriptor, std::string_view inText);
