#pragma once

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "Launch.h"

/// The built filter while it works on a job that the test hands over piece by piece.
class ARunningFilter
{
public:
    /// Arguments "1 USER title 1 OPTIONS" and the job on standard input, with this environment and no other.
    ARunningFilter(const std::string& inOptions, std::map<std::string, std::string> inEnvironment,
                   const std::string& inUser = "user");

    /// Kills the filter when it still runs.
    ~ARunningFilter();
    ARunningFilter(const ARunningFilter&) = delete;
    ARunningFilter& operator=(const ARunningFilter&) = delete;

    void Feed(std::string_view inText);
    void EndInput();

    // False when the text does not come within the time.
    [[nodiscard]] bool WaitForOutput(std::string_view inText, int inSeconds = 10);
    [[nodiscard]] bool WaitForLog(std::string_view inText, int inSeconds = 10);

    [[nodiscard]] std::string GetOutput();
    [[nodiscard]] std::string GetLog();

    /// True while the process has not ended.
    [[nodiscard]] bool IsRunning();

    /// The exit status, or 128 + signal, once all output has arrived; none when it does not end within the time.
    [[nodiscard]] std::optional<int> WaitForEnd(int inSeconds = 10);
    void Signal(int inSignal) const;

private:
    struct AStream
    {
        APipe fPipe;
        std::string fText;
        std::jthread fReader;
    };

    void ReadAll(AStream& ioStream);
    bool WaitFor(AStream& ioStream, std::string_view inText, int inSeconds);
    std::string GetText(AStream& ioStream);

    std::mutex fMutex;
    std::condition_variable fArrived;
    APipe fInput;
    std::optional<ALaunchedFilter> fFilter;
    std::optional<int> fStatus;
    AStream fOutput;
    AStream fLog;
};
