#include "Launch.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <sched.h>
#include <stdexcept>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace
{

std::vector<char*> MakePointers(std::vector<std::string>& ioTexts)
{
    std::vector<char*> pointers;
    for (std::string& text : ioTexts)
    {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> MakeEnvironment(std::map<std::string, std::string> inValues)
{
    for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS", "LSAN_OPTIONS"})
    {
        if (const char* const value = std::getenv(name))
        {
            inValues[name] = value;
        }
    }
    std::vector<std::string> environment;
    for (const auto& [name, value] : inValues)
    {
        environment.push_back(name + "=" + value);
    }
    return environment;
}

/// What the test gives may itself be one of the three: all of them move out of the way first.
void PlaceDescriptors(const ALaunch& inLaunch)
{
    std::array<int, 3> given = {inLaunch.fInput, inLaunch.fOutput, inLaunch.fErrors};
    for (int& descriptor : given)
    {
        descriptor = descriptor < 0 ? descriptor : fcntl(descriptor, F_DUPFD_CLOEXEC, 10);
    }
    for (int target = 0; target < 3; ++target)
    {
        const int from = given[static_cast<std::size_t>(target)];
        from < 0 ? close(target) : dup2(from, target);
    }
}

bool EnterPrivateTmp(const std::string& inFolder)
{
    const int flags = CLONE_NEWNS | (geteuid() == 0 ? 0 : CLONE_NEWUSER);
    return unshare(flags) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount(inFolder.c_str(), "/tmp", nullptr, MS_BIND, nullptr) == 0;
}

[[noreturn]] void BecomeProgram(const ALaunch& inLaunch, char** inArguments, char** inEnvironment)
{
    // Its path may lie below the /tmp that is about to go.
    const int program = open(inLaunch.fProgram.c_str(), O_RDONLY | O_CLOEXEC);
    if (!inLaunch.fPrivateTmp.empty() && !EnterPrivateTmp(inLaunch.fPrivateTmp))
    {
        _exit(ALaunchedFilter::kNoPrivateTmp);
    }
    const rlimit limit{inLaunch.fFileSizeLimit, inLaunch.fFileSizeLimit};
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGPIPE, SIG_DFL);
    PlaceDescriptors(inLaunch);
    fexecve(program, inArguments, inEnvironment);
    _exit(127);
}

} // namespace

ALaunchedFilter::ALaunchedFilter(const ALaunch& inLaunch)
{
    std::vector<std::string> arguments = inLaunch.fArguments;
    arguments.insert(arguments.begin(), "vxpostprocessing");
    std::vector<std::string> environment = MakeEnvironment(inLaunch.fEnvironment);
    const std::vector<char*> argumentPointers = MakePointers(arguments);
    const std::vector<char*> environmentPointers = MakePointers(environment);
    fChild = fork();
    if (fChild == 0)
    {
        BecomeProgram(inLaunch, const_cast<char**>(argumentPointers.data()),
                      const_cast<char**>(environmentPointers.data()));
    }
}

ALaunchedFilter::~ALaunchedFilter()
{
    if (fChild > 0)
    {
        kill(fChild, SIGKILL);
        waitpid(fChild, nullptr, 0);
    }
}

void ALaunchedFilter::Signal(int inSignal) const
{
    kill(fChild, inSignal);
}

bool ALaunchedFilter::IsBlockedOn(int inDescriptor) const
{
    // "NUMBER ARGUMENT ...", or "running" (proc_pid_syscall(5)).
    std::ifstream file("/proc/" + std::to_string(fChild) + "/syscall");
    long number = -1;
    std::string argument;
    file >> number >> argument;
    return file && (number == SYS_read || number == SYS_write) &&
           std::strtol(argument.c_str(), nullptr, 16) == inDescriptor;
}

long ALaunchedFilter::GetMostMemory() const
{
    const std::string status = ReadFile("/proc/" + std::to_string(fChild) + "/status");
    const std::size_t peak = status.find("VmHWM:");
    return peak == std::string::npos ? 0 : std::strtol(status.c_str() + peak + 6, nullptr, 10);
}

std::optional<int> ALaunchedFilter::Wait(std::chrono::milliseconds inLimit)
{
    const ADescriptor handle(static_cast<int>(syscall(SYS_pidfd_open, fChild, 0)));
    pollfd ended{handle.Get(), POLLIN, 0};
    if (poll(&ended, 1, static_cast<int>(inLimit.count())) != 1)
    {
        return std::nullopt;
    }
    int status = 0;
    waitpid(fChild, &status, 0);
    fChild = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

ADescriptor::ADescriptor(const std::string& inPath, int inFlags)
    : fDescriptor(open(inPath.c_str(), inFlags | O_CLOEXEC, 0600))
{
    if (fDescriptor < 0)
    {
        throw std::runtime_error("cannot open " + inPath);
    }
}

void ADescriptor::Reset(int inDescriptor)
{
    if (fDescriptor >= 0)
    {
        close(fDescriptor);
    }
    fDescriptor = inDescriptor;
}

APipe::APipe(int inSize)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
    {
        throw std::runtime_error("no pipe");
    }
    fRead.Reset(ends[0]);
    fWrite.Reset(ends[1]);
    fcntl(ends[1], F_SETPIPE_SZ, inSize);
}

bool WriteAll(int inDescriptor, std::string_view inText)
{
    std::signal(SIGPIPE, SIG_IGN);
    while (!inText.empty())
    {
        const ssize_t count = write(inDescriptor, inText.data(), inText.size());
        if (count < 0 && errno != EINTR)
        {
            return false;
        }
        inText.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    }
    return true;
}

std::string ReadFile(const std::string& inPath)
{
    std::ifstream file(inPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
