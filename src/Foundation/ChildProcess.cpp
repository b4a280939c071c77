#include "Foundation/ChildProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <grp.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Foundation/CupsFile.h"
#include "Foundation/HangWatch.h"
#include "Imaging/Logger.h"

namespace
{

volatile std::sig_atomic_t gRunningChild = 0;

constexpr int kGraceSteps = 100;
constexpr timespec kGraceStep = {0, 10'000'000};

/// Gives the child a second to put its own house in order. Runs in a signal handler.
void EndChild(pid_t inChild, int inSignal)
{
    kill(-inChild, inSignal);
    for (int i = 0; i < kGraceSteps && waitpid(inChild, nullptr, WNOHANG) == 0; ++i)
    {
        nanosleep(&kGraceStep, nullptr);
    }
    kill(-inChild, SIGKILL);
}

/// Ends the child's process group, then the filter by the same signal.
void PassOn(int inSignal)
{
    if (gRunningChild != 0)
    {
        EndChild(static_cast<pid_t>(gRunningChild), inSignal);
    }
    std::signal(inSignal, SIG_DFL);
    std::raise(inSignal);
}

/// The signals that end the filter are held back until the child is known, from then on they go to it first.
class ASignalRelay
{
public:
    ASignalRelay()
    {
        sigset_t held;
        sigemptyset(&held);
        struct sigaction action = {};
        action.sa_handler = PassOn;
        for (const int signal : kSignals)
        {
            sigaddset(&held, signal);
            sigaddset(&action.sa_mask, signal);
        }
        sigprocmask(SIG_BLOCK, &held, &fMaskBefore);
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
        sigprocmask(SIG_SETMASK, &fMaskBefore, nullptr);
    }
    ASignalRelay(const ASignalRelay&) = delete;
    ASignalRelay& operator=(const ASignalRelay&) = delete;

    void SetChild(pid_t inChild)
    {
        gRunningChild = static_cast<std::sig_atomic_t>(inChild);
        sigprocmask(SIG_SETMASK, &fMaskBefore, nullptr);
    }

    static void WaitForChild()
    {
        siginfo_t info{};
        while (waitid(P_PID, static_cast<id_t>(gRunningChild), &info, WEXITED | WNOWAIT) < 0 && errno == EINTR)
        {
        }
    }

    /// The status of the child that has ended; from then on its number may be another's.
    [[nodiscard]] static int TakeStatus()
    {
        const auto child = static_cast<pid_t>(gRunningChild);
        gRunningChild = 0;
        int status = -1;
        waitpid(child, &status, 0);
        return status;
    }

private:
    static constexpr std::array<int, 3> kSignals = {SIGTERM, SIGINT, SIGHUP};
    std::array<struct sigaction, 3> fBefore{};
    sigset_t fMaskBefore{};
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

/// From now on this process ends with its parent. False when the parent has ended before.
bool EndWithParent(pid_t inParent)
{
    return prctl(PR_SET_PDEATHSIG, SIGTERM) == 0 && getppid() == inParent;
}

/// Runs in the child, between fork and execve: nothing here may allocate.
[[noreturn]] void BecomeProgram(const AChildProcess& inProcess, char* const* inArguments, char* const* inEnvironment,
                                int inErrors, pid_t inParent)
{
    setpgid(0, 0);
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
    // A change of ids forgets what is to happen at the parent's end.
    if (TakeRealIds(group, user) && EndWithParent(inParent))
    {
        execve(inProcess.fPath.c_str(), inArguments, inEnvironment);
        const int error = errno;
        std::perror(inProcess.fPath.c_str());
        errno = error;
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
    ASignalRelay relay;
    const pid_t parent = getpid();
    const pid_t child = fork();
    if (child == 0)
    {
        BecomeProgram(inProcess, arguments.data(), environment.data(), errors[1], parent);
    }
    close(errors[1]);
    if (child < 0)
    {
        close(errors[0]);
        LoggerLogMessage(kLogError, "Unable to execute %s\n", inProcess.fPath.c_str());
        return -1;
    }
    setpgid(child, child);
    relay.SetChild(child);
    {
        const AHangWatch watch(child);
        LogLines(errors[0]);
        ASignalRelay::WaitForChild();
    }
    return ASignalRelay::TakeStatus();
}
