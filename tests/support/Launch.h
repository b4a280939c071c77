#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <sys/resource.h>
#include <sys/types.h>

/// How to start the built filter, or another program of ours, where RunFilter is too kind: every argument, descriptor
/// and limit is the test's own.
struct ALaunch
{
    static constexpr int kClosed = -1;

    std::string fProgram = VX_FILTER_PATH;
    std::vector<std::string> fArguments;             ///< behind the program's name
    std::map<std::string, std::string> fEnvironment; ///< all of it, but for the sanitizers' options
    int fInput = kClosed;                            ///< descriptors, not owned
    int fOutput = kClosed;
    int fErrors = kClosed;
    rlim_t fFileSizeLimit = RLIM_INFINITY; ///< bytes
    std::string fPrivateTmp;               ///< a folder that stands in the place of /tmp; empty: the real /tmp
};

/// The filter while it runs. The destructor ends it.
class ALaunchedFilter
{
public:
    static constexpr int kNoPrivateTmp = 126; ///< exit status where the system allows no private /tmp

    explicit ALaunchedFilter(const ALaunch& inLaunch);
    ~ALaunchedFilter();
    ALaunchedFilter(const ALaunchedFilter&) = delete;
    ALaunchedFilter& operator=(const ALaunchedFilter&) = delete;

    void Signal(int inSignal) const;

    /// True when it sleeps in a system call that reads or writes descriptor inDescriptor.
    [[nodiscard]] bool IsBlockedOn(int inDescriptor) const;

    /// KiB that were resident at most so far.
    [[nodiscard]] long GetMostMemory() const;

    /// The exit status, or 128 + signal when a signal ended it. None when it still runs after that time.
    [[nodiscard]] std::optional<int> Wait(std::chrono::milliseconds inLimit = std::chrono::seconds(100));

private:
    pid_t fChild;
};

/// A descriptor that closes itself.
class ADescriptor
{
public:
    explicit ADescriptor(int inDescriptor) : fDescriptor(inDescriptor) {}
    ADescriptor(const std::string& inPath, int inFlags);
    ~ADescriptor() { Close(); }
    ADescriptor(const ADescriptor&) = delete;
    ADescriptor& operator=(const ADescriptor&) = delete;

    [[nodiscard]] int Get() const { return fDescriptor; }
    void Close() { Reset(-1); }
    void Reset(int inDescriptor);

private:
    int fDescriptor;
};

/// A pipe; inSize bytes go into it before a writer blocks.
struct APipe
{
    explicit APipe(int inSize = 4096);

    ADescriptor fRead{-1};
    ADescriptor fWrite{-1};
};

/// Writes all of it, however small the reader's bites are. False when the reader is gone.
bool WriteAll(int inDescriptor, std::string_view inText);

[[nodiscard]] std::string ReadFile(const std::string& inPath);
