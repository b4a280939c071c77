#pragma once

/// Severity of a log record: the smaller, the more severe. A record above the set level is dropped before it is
/// formatted.
enum LogLevel : int
{
    kLogError = 0,     ///< open, read and start-up failures
    kLogAssertion = 1, ///< a condition that should hold does not; the program goes on
    kLogTrace = 4,     ///< progress and trace
};

/// A place in the sources; as a default argument, the place of the call. (std::source_location, which not every
/// compiler has that reads this code.)
struct ASourcePlace
{
    static constexpr ASourcePlace GetCurrent(const char* inFile = __builtin_FILE(),
                                             const char* inFunction = __builtin_FUNCTION(),
                                             unsigned inLine = __builtin_LINE())
    {
        return {inFile, inFunction, inLine};
    }

    const char* fFile;
    const char* fFunction;
    unsigned fLine;
};

/// Where a log record comes from: its level and, taken at the call, the source position.
struct ALogSite
{
    // NOLINTNEXTLINE(google-explicit-constructor): a level alone is the usual way to write a call
    ALogSite(LogLevel inLevel, ASourcePlace inWhere = ASourcePlace::GetCurrent()) : fLevel(inLevel), fWhere(inWhere) {}

    LogLevel fLevel;
    ASourcePlace fWhere;
};

/// The least severe level that is written.
void LoggerSetLogLevel(int inLevel);

/// A file that records are appended to; it is made with mode 0600. Null, and a file that cannot be opened: standard
/// error.
void LoggerSetLogToFile(const char* inPath);

/// "%msg" in the format stands for the message; what stands before it opens every line of a record.
void LoggerSetFormat(const char* inFormat);

/// Writes one record with one write(2). It ends in exactly one newline; a line break inside the message starts
/// another line with the same prefix, so that text from a job can never pass for a CUPS status line (CUPS filter(7)).
void LoggerLogMessage(ALogSite inSite, const char* inFormat, ...) __attribute__((format(printf, 2, 3)));

/// Logs "EXPRESSION assertion failed" unless the condition holds. Returns the condition; nothing is ever stopped by it.
bool LogUnless(bool inCondition, const char* inExpression, ASourcePlace inWhere = ASourcePlace::GetCurrent());

/// The trace of a function's entry that some operations leave in the log.
void LogEnteredFunction(ASourcePlace inWhere = ASourcePlace::GetCurrent());
