#include "RunningFilter.h"

#include <array>
#include <csignal>
#include <unistd.h>

ARunningFilter::ARunningFilter(const std::string& inOptions, std::map<std::string, std::string> inEnvironment,
                               const std::string& inUser)
{
    ALaunch launch;
    launch.fArguments = {"1", inUser, "title", "1", inOptions};
    launch.fEnvironment = std::move(inEnvironment);
    launch.fInput = fInput.fRead.Get();
    launch.fOutput = fOutput.fPipe.fWrite.Get();
    launch.fErrors = fLog.fPipe.fWrite.Get();
    fFilter.emplace(launch);
    fInput.fRead.Close();
    for (AStream* stream : {&fOutput, &fLog})
    {
        stream->fPipe.fWrite.Close();
        stream->fReader = std::jthread([this, stream] { ReadAll(*stream); });
    }
}

ARunningFilter::~ARunningFilter()
{
    // Ends the filter, and with it what the readers wait for.
    fFilter.reset();
}

void ARunningFilter::ReadAll(AStream& ioStream)
{
    std::array<char, 4096> bytes{};
    for (ssize_t size = 0; (size = read(ioStream.fPipe.fRead.Get(), bytes.data(), bytes.size())) > 0;)
    {
        const std::scoped_lock lock(fMutex);
        ioStream.fText.append(bytes.data(), static_cast<std::size_t>(size));
        fArrived.notify_all();
    }
}

void ARunningFilter::Feed(std::string_view inText)
{
    WriteAll(fInput.fWrite.Get(), inText);
}

void ARunningFilter::EndInput()
{
    fInput.fWrite.Close();
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
    if (!fStatus)
    {
        fStatus = fFilter->Wait(std::chrono::seconds(inSeconds));
    }
    for (AStream* stream : {&fOutput, &fLog})
    {
        if (fStatus && stream->fReader.joinable())
        {
            stream->fReader.join();
        }
    }
    return fStatus;
}

void ARunningFilter::Signal(int inSignal) const
{
    fFilter->Signal(inSignal);
}
