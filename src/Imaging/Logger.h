#pragma once

#include <source_location>

/// Severity of a log record: the smaller, the more severe. A record above the set level is dropped before it is
/// formatted.
enum LogLevel : int
{
    kLogError = 0,     ///< open, read and start-up failures
    kLogAssertion = 1, ///< a condition that should hold does not; the program goes on
    kLogTrace = 4,     ///< progress and trace
};

/// Where a log record comes from: its level and, taken at the call, the source position.
struct ALogSite
{
    // NOLINTNEXTLINE(google-explicit-constructor): a level alone is the usual way to write a call
    ALogSite(LogLevel inLevel, std::source_location inWhere = std::source_location::current())
        : fLevel(inLevel), fWhere(inWhere)
    {
    }

    LogLevel fLevel;
    std::source_location fWhere;
};

void LoggerSetLogLevel(int inLevel);

/// Null: records go to standard error.
void LoggerSetLogToFile(const char* inPath);

/// "%msg" in the format stands for the message; what stands before it opens every line of a record.
void LoggerSetFormat(const char* inFormat);

/// Writes one record with one write(2). It ends in exactly one newline; a line break inside the message starts
/// another line with the same prefix, so that text from a job can never pass for a CUPS status line (CUPS filter(7)).
void LoggerLogMessage(ALogSite inSite, const char* inFormat, ...) __attribute__((format(printf, 2, 3)));

/// Logs "EXPRESSION assertion failed" unless the condition holds. Returns the condition; nothing is ever stopped by it.
bool LogUnless(bool inCondition, const char* inExpression,
               std::source_location inWhere = std::source_location::current());

/// The trace of a function's entry that some operations leave in the log.
void LogEnteredFunction(std::source_location inWhere = std::source_location::current());
