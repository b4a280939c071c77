#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "Launch.h"
#include "TemporaryFolder.h"

/// The built filter while it works on a job that the test hands over piece by piece. It is killed when it still runs at
/// the end.
class ARunningFilter
{
public:
    /// Arguments "1 user title 1 OPTIONS" and the job on standard input, with this environment and no other.
    ARunningFilter(const std::string& inOptions, std::map<std::string, std::string> inEnvironment);

    void Feed(std::string_view inText) { WriteAll(fInput.fWrite.Get(), inText); }

    /// The exit status after this last piece, or 128 + signal; none when it does not end within the time.
    [[nodiscard]] std::optional<int> Finish(std::string_view inText, int inSeconds = 10);

    // False when the text does not come within the time.
    [[nodiscard]] bool WaitForOutput(std::string_view inText, int inSeconds = 10) const;
    [[nodiscard]] bool WaitForLog(std::string_view inText, int inSeconds = 10) const;

    [[nodiscard]] std::string GetOutput() const { return ReadFile(fFolder.GetPath("output")); }
    [[nodiscard]] std::string GetLog() const { return ReadFile(fFolder.GetPath("log")); }

    [[nodiscard]] ALaunchedFilter& GetFilter() { return *fFilter; }

private:
    ATemporaryFolder fFolder;
    APipe fInput;
    std::optional<ALaunchedFilter> fFilter;
};

/// Looks every few milliseconds whether it is so. False when it is not within the time.
bool WaitUntil(const std::function<bool()>& inCondition, int inSeconds = 10);
