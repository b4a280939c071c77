#pragma once

#include <memory>
#include <string>
#include <string_view>

#include <regex.h>

#include "Foundation/LineProcessor.h"
#include "Foundation/PostScriptLineInfo.h"

/// One interest of one processor in the lines that hold a pattern.
class AProcessingTask
{
public:
    /// Result of performing a task on a line.
    enum ProcessingStatus : int
    {
        kTaskNotApplicable = -1,
        kLineProcessed = 0,
        kLineModified = 1,
        kLineSkipped = 2,
        kProcessingError = 3,
    };

    /// How the task is declared.
    struct ADeclaration
    {
        std::string fPattern; ///< text to find, or a POSIX extended regular expression
        LineOrder fLineOrder;
        std::string fDescription; ///< for the log
        bool fIsRegExp = false;
        bool fIsOptional = false; ///< an optional task does not keep the iterator reading line by line
    };

    /// The processor must outlive the task. A regular expression that does not compile is logged and never matches.
    AProcessingTask(ILineProcessor& inProcessor, ADeclaration inDeclaration);

    [[nodiscard]] bool IsApplicableForLine(const APostScriptLineInfo& inLine) const;
    ProcessingStatus PerformTask(APostScriptLineInfo& ioLine);

    [[nodiscard]] const ILineProcessor& GetProcessor() const { return fProcessor; }
    [[nodiscard]] const std::string& GetPattern() const { return fDeclaration.fPattern; }
    [[nodiscard]] LineOrder GetLineOrder() const { return fDeclaration.fLineOrder; }
    [[nodiscard]] const std::string& GetDescription() const { return fDeclaration.fDescription; }
    [[nodiscard]] bool IsOptional() const { return fDeclaration.fIsOptional; }

    /// A text that every line holds that the task can match; empty when there is no telling.
    [[nodiscard]] std::string GetNeedle() const;

    /// False for a regular expression that did not compile.
    [[nodiscard]] bool CanMatch() const { return !fDeclaration.fIsRegExp || fExpression != nullptr; }

    /// The task's line in the table of tasks that the log shows.
    [[nodiscard]] std::string GetDebugDescription() const;

private:
    /// A POSIX expression that frees itself.
    struct AExpression
    {
        explicit AExpression(const char* inPattern);
        ~AExpression();
        AExpression(const AExpression&) = delete;
        AExpression& operator=(const AExpression&) = delete;

        regex_t fCompiled{};
        int fStatus; ///< of regcomp
    };

    void CompileRegExp();
    [[nodiscard]] static ProcessingStatus MapStatusCode(LineProcessStatus inStatus);

    ILineProcessor& fProcessor;
    ADeclaration fDeclaration;
    std::unique_ptr<AExpression> fExpression; ///< null for a plain text, and when it did not compile
};

/// The longest run of plain characters that every match of an expression holds; empty for an expression with more than
/// plain characters, escaped characters and ".*".
[[nodiscard]] std::string GetLiteralOfExpression(std::string_view inExpression);
