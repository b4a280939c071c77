#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

// A sanitizer makes everything slower and larger: tests do less there, and do not judge sizes.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool kIsSanitized = true;
#else
inline constexpr bool kIsSanitized = false;
#endif

/// One run of the built filter: what CUPS gives it. Everything has a usual value, so that a test states what it is
/// about.
struct AFilterRun
{
    std::string fOptions;
    std::string fJob;
    std::string fPPD = "";                                ///< text after the usual head; see MakePPD
    std::map<std::string, std::string> fEnvironment = {}; ///< besides the usual one; an empty value unsets a variable
    std::string fUser = "user";
    std::string fTitle = "title";
    std::string fCopies = "1";
    bool fFromFile = false;                           ///< the job is argument 6 instead of standard input
    std::optional<unsigned long> fFileSizeLimit = {}; ///< bytes that any file may take, as on a disk that is full then
};

/// What came of it.
struct AFilterResult
{
    std::string fOutput; ///< standard output
    std::string fLog;    ///< standard error
    int fStatus = -1;    ///< exit status; 128 + signal when a signal ended the filter

    [[nodiscard]] bool IsLogged(std::string_view inText) const { return fLog.find(inText) != std::string::npos; }
};

/// Runs the built filter as the CUPS chain does with a converted job (CONTENT_TYPE application/pdf, no PRINTER, a PPD
/// of its own). Every file is in a temporary folder that goes away.
[[nodiscard]] AFilterResult RunFilter(const AFilterRun& inRun);

/// The setup that comes out of a converted job of one page, for a printer of MakePPD.
[[nodiscard]] std::string SetupOf(const std::string& inOptions, std::string_view inStatements,
                                  std::string_view inSetup = "");

/// A printer description that libcups accepts: a head with two page sizes and a duplex unit, then the given statements.
[[nodiscard]] std::string MakePPD(std::string_view inStatements);

/// Without a duplex unit.
[[nodiscard]] std::string MakeSimplexPPD(std::string_view inStatements);

/// A converted job of some pages; each page holds the line "(page N) show". inSetup stands between the comments that
/// begin and end the setup.
[[nodiscard]] std::string MakeJob(int inPages, std::string_view inSetup = "");

/// The text between the first inBegin and the next inEnd, neither included; none when either is missing.
[[nodiscard]] std::optional<std::string> Between(std::string_view inText, std::string_view inBegin,
                                                 std::string_view inEnd);

/// The text with the first inFrom replaced by inTo.
[[nodiscard]] std::string Replace(std::string inText, std::string_view inFrom, std::string_view inTo);

/// How often the word stands in the text.
[[nodiscard]] int CountOf(std::string_view inText, std::string_view inWord);

/// What the command says on standard output. Expects it to end well.
std::string RunShell(const std::string& inCommand);

/// What Ghostscript prints while it runs the program, and then what it reports. Expects it to end well.
[[nodiscard]] std::string RunGhostscript(const std::string& inOptions, std::string_view inProgram);
