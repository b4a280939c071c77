#include "Foundation/ChildProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <grp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Foundation/CupsFile.h"
#include "Imaging/Logger.h"

namespace
{

volatile std::sig_atomic_t gRunningChild = 0;

/// Ends the child's process group, then the filter by the same signal.
void PassOn(int inSignal)
{
    if (gRunningChild != 0)
    {
        kill(-static_cast<pid_t>(gRunningChild), inSignal);
    }
    std::signal(inSignal, SIG_DFL);
    std::raise(inSignal);
}

/// While it lives, the signals that end the filter go to the child first.
class ASignalRelay
{
public:
    explicit ASignalRelay(pid_t inChild)
    {
        gRunningChild = static_cast<std::sig_atomic_t>(inChild);
        struct sigaction action = {};
        action.sa_handler = PassOn;
        for (std::size_t i = 0; i < kSignals.size(); ++i)
        {
            sigaction(kSignals[i], &action, &fBefore[i]);
        }
    }
    ~ASignalRelay()
    {
        for (std::size_t i = 0; i < kSignals.size(); ++i)
        {
            sigaction(kSignals[i], &fBefore[i], nullptr);
        }
        gRunningChild = 0;
    }
    ASignalRelay(const ASignalRelay&) = delete;
    ASignalRelay& operator=(const ASignalRelay&) = delete;

private:
    static constexpr std::array<int, 3> kSignals = {SIGTERM, SIGINT, SIGHUP};
    std::array<struct sigaction, 3> fBefore{};
};

std::vector<char*> MakePointers(const std::vector<std::string>& inTexts)
{
    std::vector<char*> pointers;
    pointers.reserve(inTexts.size() + 1);
    for (const std::string& text : inTexts)
    {
        pointers.push_back(const_cast<char*>(text.c_str())); // execve takes them so and leaves them alone
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// A filter that runs as root hands its child the real ids; anybody else has no others to hand on.
bool TakeRealIds(gid_t inGroup, uid_t inUser)
{
    return geteuid() != 0 || (setgid(inGroup) == 0 && setuid(inUser) == 0);
}

void ResetSignals()
{
    for (const int signal : {SIGTERM, SIGCHLD, SIGPIPE, SIGXFSZ, SIGINT, SIGHUP})
    {
        std::signal(signal, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// Runs in the child, between fork and execve: nothing here may allocate.
[[noreturn]] void BecomeProgram(const AChildProcess& inProcess, char* const* inArguments, char* const* inEnvironment,
                                int inErrors)
{
    setpgid(0, 0);
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    const int input = inProcess.fStandardInput >= 0 ? inProcess.fStandardInput : open("/dev/null", O_RDONLY);
    dup2(input, STDIN_FILENO);
    dup2(inProcess.fStandardOutput, STDOUT_FILENO);
    dup2(inErrors, STDERR_FILENO);
    if (inProcess.fInherited >= 0)
    {
        fcntl(inProcess.fInherited, F_SETFD, 0);
    }
    const gid_t group = getgid();
    const uid_t user = getuid();
    static_cast<void>(setgroups(0, nullptr));
    umask(077);
    ResetSignals();
    if (TakeRealIds(group, user))
    {
        execve(inProcess.fPath.c_str(), inArguments, inEnvironment);
        std::perror(inProcess.fPath.c_str());
    }
    _exit(errno);
}

void LogLines(int inDescriptor)
{
    ALineStream lines(inDescriptor, AFileStream::AOwnership::kOwned);
    for (bool isEOF = false; !isEOF;)
    {
        const std::string line(lines.ReadLine(kLineBufferSize, isEOF).GetVisibleText());
        if (!line.empty())
        {
            LoggerLogMessage(kLogTrace, "%s", line.c_str());
        }
    }
}

int WaitFor(pid_t inChild)
{
    int status = -1;
    while (waitpid(inChild, &status, 0) < 0 && errno == EINTR)
    {
    }
    return status;
}

} // namespace

int ExecuteProcess(const AChildProcess& inProcess)
{
    const std::vector<char*> arguments = MakePointers(inProcess.fArguments);
    const std::vector<char*> environment = MakePointers(inProcess.fEnvironment);
    std::array<int, 2> errors{};
    if (pipe2(errors.data(), O_CLOEXEC) != 0)
    {
        return -1;
    }
    const pid_t child = fork();
    if (child == 0)
    {
        BecomeProgram(inProcess, arguments.data(), environment.data(), errors[1]);
    }
    close(errors[1]);
    if (child < 0)
    {
        close(errors[0]);
        LoggerLogMessage(kLogError, "Unable to execute %s\n", inProcess.fPath.c_str());
        return -1;
    }
    const ASignalRelay relay(child);
    LogLines(errors[0]);
    return WaitFor(child);
}
