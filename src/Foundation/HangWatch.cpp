#include "Foundation/HangWatch.h"

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <sstream>
#include <string>
#include <system_error>

#include "Foundation/SignalBlock.h"
#include "Imaging/Logger.h"

namespace
{

constexpr std::chrono::seconds kStep(1);
constexpr int kStepsOfAHang = 5;

/// The line of one process in proc(5); empty for what is none.
std::string ReadStat(const std::filesystem::path& inProcess)
{
    std::string line;
    std::getline(std::ifstream(inProcess / "stat"), line);
    return line;
}

/// What the system tells of the group's processes, times of the processor included; empty unless one has ended and all
/// others sleep.
std::string DescribeSleep(pid_t inGroup)
{
    std::string description;
    bool hasOneEnded = false;
    std::error_code error;
    for (std::filesystem::directory_iterator process("/proc", error), end; process != end; process.increment(error))
    {
        const std::string stat = ReadStat(process->path());
        // The name before the parenthesis may hold anything.
        std::istringstream fields(stat.substr(stat.rfind(')') + 1));
        char state = 0;
        pid_t parent = 0;
        pid_t group = 0;
        fields >> state >> parent >> group;
        if (group != inGroup)
        {
            continue;
        }
        if (state != 'S' && state != 'Z')
        {
            return {};
        }
        hasOneEnded = hasOneEnded || state == 'Z';
        description += stat;
    }
    return hasOneEnded ? description : std::string();
}

/// Waits one step. False when the watch is to end.
bool Wait(const std::stop_token& inStop)
{
    std::mutex mutex;
    std::unique_lock lock(mutex);
    std::condition_variable_any wake;
    wake.wait_for(lock, inStop, kStep, [] { return false; });
    return !inStop.stop_requested();
}

void Watch(const std::stop_token& inStop, pid_t inGroup)
{
    std::string before;
    for (int steps = 0; steps < kStepsOfAHang;)
    {
        if (!Wait(inStop))
        {
            return;
        }
        const std::string now = DescribeSleep(inGroup);
        steps = !now.empty() && now == before ? steps + 1 : 0;
        before = now;
    }
    LoggerLogMessage(kLogError, "Ending processes that wait for one that has ended\n");
    kill(-inGroup, SIGTERM);
    if (Wait(inStop))
    {
        kill(-inGroup, SIGKILL);
    }
}

} // namespace

AHangWatch::AHangWatch(pid_t inGroup)
{
    const ASignalBlock block; // for the thread: signals are for whoever waits for the group
    try
    {
        fThread = std::jthread([inGroup](const std::stop_token& inStop) { Watch(inStop, inGroup); });
    }
    catch (const std::system_error& error)
    {
        LoggerLogMessage(kLogError, "Unable to watch processes: %s\n", error.what());
    }
}
