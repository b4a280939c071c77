#include "RunningFilter.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace
{

std::vector<char*> MakeVector(std::vector<std::string>& ioTexts)
{
    std::vector<char*> pointers;
    for (std::string& text : ioTexts)
    {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

std::array<int, 2> OpenPipe()
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
    {
        throw std::runtime_error("no pipe");
    }
    return ends;
}

} // namespace

ARunningFilter::ARunningFilter(const std::string& inOptions, std::map<std::string, std::string> inEnvironment,
                               const std::string& inUser)
{
    std::signal(SIGPIPE, SIG_IGN);
    std::vector<std::string> arguments = {"queue", "1", inUser, "title", "1", inOptions};
    std::vector<std::string> environment;
    for (const auto& [name, value] : inEnvironment)
    {
        environment.push_back(name + "=" + value);
    }
    const std::array<int, 2> input = OpenPipe();
    const std::array<int, 2> output = OpenPipe();
    const std::array<int, 2> log = OpenPipe();
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&files, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files, log[1], STDERR_FILENO);
    const int error = posix_spawn(&fProcess, VX_FILTER_PATH, &files, nullptr, MakeVector(arguments).data(),
                                  MakeVector(environment).data());
    posix_spawn_file_actions_destroy(&files);
    close(input[0]);
    close(output[1]);
    close(log[1]);
    if (error != 0)
    {
        throw std::runtime_error("no filter");
    }
    fInput = input[1];
    fOutput.fDescriptor = output[0];
    fLog.fDescriptor = log[0];
    fOutput.fReader = std::jthread([this] { ReadAll(fOutput); });
    fLog.fReader = std::jthread([this] { ReadAll(fLog); });
}

ARunningFilter::~ARunningFilter()
{
    EndInput();
    if (IsRunning())
    {
        Signal(SIGKILL);
        static_cast<void>(WaitForEnd());
    }
    for (AStream* stream : {&fOutput, &fLog})
    {
        stream->fReader.join();
        close(stream->fDescriptor);
    }
}

void ARunningFilter::ReadAll(AStream& ioStream)
{
    std::array<char, 4096> bytes{};
    for (ssize_t size = 0; (size = read(ioStream.fDescriptor, bytes.data(), bytes.size())) > 0;)
    {
        const std::scoped_lock lock(fMutex);
        ioStream.fText.append(bytes.data(), static_cast<std::size_t>(size));
        fArrived.notify_all();
    }
}

void ARunningFilter::Feed(std::string_view inText)
{
    static_cast<void>(!write(fInput, inText.data(), inText.size()));
}

void ARunningFilter::EndInput()
{
    if (fInput >= 0)
    {
        close(fInput);
        fInput = -1;
    }
}

bool ARunningFilter::WaitFor(AStream& ioStream, std::string_view inText, int inSeconds)
{
    std::unique_lock lock(fMutex);
    return fArrived.wait_for(lock, std::chrono::seconds(inSeconds),
                             [&] { return ioStream.fText.find(inText) != std::string::npos; });
}

bool ARunningFilter::WaitForOutput(std::string_view inText, int inSeconds)
{
    return WaitFor(fOutput, inText, inSeconds);
}

bool ARunningFilter::WaitForLog(std::string_view inText, int inSeconds)
{
    return WaitFor(fLog, inText, inSeconds);
}

std::string ARunningFilter::GetText(AStream& ioStream)
{
    const std::scoped_lock lock(fMutex);
    return ioStream.fText;
}

std::string ARunningFilter::GetOutput()
{
    return GetText(fOutput);
}
std::string ARunningFilter::GetLog()
{
    return GetText(fLog);
}

bool ARunningFilter::IsRunning()
{
    return !WaitForEnd(0);
}

std::optional<int> ARunningFilter::WaitForEnd(int inSeconds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(inSeconds);
    do
    {
        int status = 0;
        if (!fStatus && waitpid(fProcess, &status, WNOHANG) == fProcess)
        {
            fStatus = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
        }
        if (fStatus)
        {
            return fStatus;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(inSeconds > 0 ? 5 : 0));
    } while (std::chrono::steady_clock::now() < end);
    return std::nullopt;
}

void ARunningFilter::Signal(int inSignal) const
{
    kill(fProcess, inSignal);
}
