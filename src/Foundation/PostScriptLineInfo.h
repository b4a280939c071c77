#pragma once

#include <string>
#include <string_view>

#include "Foundation/JobLine.h"

/// When a task runs relative to the writing of the line.
enum LineOrder : int
{
    kBeforeLine = 0, ///< before: it may replace or drop the line
    kAfterLine = 1,  ///< after: it must leave the line alone
};

/// A line of the job as a task sees it.
class APostScriptLineInfo
{
public:
    /// The text of the line must outlive this object.
    APostScriptLineInfo(AJobLine inLine, LineOrder inLineOrder) : fLine(inLine), fLineOrder(inLineOrder) {}
    APostScriptLineInfo(const APostScriptLineInfo&) = delete;
    APostScriptLineInfo& operator=(const APostScriptLineInfo&) = delete;

    [[nodiscard]] const AJobLine& GetLine() const { return fLine; }

    /// Every byte of the line, its line end included; these are the bytes that are written.
    [[nodiscard]] std::string_view GetText() const { return fLine.fText; }

    [[nodiscard]] LineOrder GetLineOrder() const { return fLineOrder; }

    /// See AJobLine::Holds.
    [[nodiscard]] bool Holds(std::string_view inText) const { return fLine.Holds(inText); }

    /// Replaces the text by a copy of inText. An empty text changes nothing; on an after-line info the replacement is
    /// made, too late to be written. Both are logged as failed assertions.
    void SetLine(std::string_view inText);

private:
    AJobLine fLine;
    LineOrder fLineOrder;
    std::string fOwnedText;
};
