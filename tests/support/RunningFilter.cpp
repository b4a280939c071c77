#include "RunningFilter.h"

#include <fcntl.h>
#include <thread>

ARunningFilter::ARunningFilter(const std::string& inOptions, std::map<std::string, std::string> inEnvironment)
{
    const ADescriptor output(fFolder.GetPath("output"), O_WRONLY | O_CREAT);
    const ADescriptor log(fFolder.GetPath("log"), O_WRONLY | O_CREAT);
    ALaunch launch;
    launch.fArguments = {"1", "user", "title", "1", inOptions};
    launch.fEnvironment = std::move(inEnvironment);
    launch.fInput = fInput.fRead.Get();
    launch.fOutput = output.Get();
    launch.fErrors = log.Get();
    fFilter.emplace(launch);
    fInput.fRead.Close();
}

std::optional<int> ARunningFilter::Finish(std::string_view inText, int inSeconds)
{
    Feed(inText);
    fInput.fWrite.Close();
    return fFilter->Wait(std::chrono::seconds(inSeconds));
}

bool ARunningFilter::WaitForOutput(std::string_view inText, int inSeconds) const
{
    return WaitUntil([&] { return GetOutput().find(inText) != std::string::npos; }, inSeconds);
}

bool ARunningFilter::WaitForLog(std::string_view inText, int inSeconds) const
{
    return WaitUntil([&] { return GetLog().find(inText) != std::string::npos; }, inSeconds);
}

bool WaitUntil(const std::function<bool()>& inCondition, int inSeconds)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(inSeconds);
    bool isSo = inCondition();
    while (!isSo && std::chrono::steady_clock::now() < end)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        isSo = inCondition();
    }
    return isSo;
}
