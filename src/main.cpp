#include <csignal>
#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

#include "Imaging/Logger.h"
#include "Imaging/StatusLine.h"
#include "JobDriver.h"

namespace
{

constexpr const char* kVersion = "5.2.0.615";
constexpr const char* kUsage = "vxpostprocessing job-id user title copies options [file]\n";

AExitStatus AnswerWithoutJob(int inArgumentCount, char** inArguments)
{
    const bool asksVersion = inArgumentCount == 2 && std::string_view(inArguments[1]) == "-v";
    std::printf(asksVersion ? "%s\n" : "%s", asksVersion ? kVersion : kUsage);
    return asksVersion && std::fflush(stdout) == 0 ? kJobDone : kJobFailed;
}

/// A standard stream that the caller closed would be the first file that is opened: the log would go into the job.
void HoldStandardDescriptors()
{
    constexpr int kNothingGoesThrough = O_PATH | O_CLOEXEC;
    int descriptor = STDIN_FILENO;
    while (descriptor >= STDIN_FILENO && descriptor <= STDERR_FILENO)
    {
        descriptor =
            fcntl(descriptor, F_GETFD) >= 0 ? descriptor + 1 : open("/", kNothingGoesThrough); // NOLINT(*-vararg)
    }
}

/// A closed pipe and a full quota are errors of writing like any other: told, not deadly.
void IgnoreWriteSignals()
{
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace

int main(int argc, char** argv, char** envp)
{
    IgnoreWriteSignals();
    HoldStandardDescriptors();
    LoggerSetLogLevel(kLogTrace);
    LoggerSetLogToFile(nullptr);
    LoggerSetFormat("DEBUG: %msg");
    std::setbuf(stderr, nullptr);
    if (argc != AJobDriver::kArgumentsForStdin && argc != AJobDriver::kArgumentsForFile)
    {
        return AnswerWithoutJob(argc, argv);
    }
    LoggerLogMessage(kLogTrace, "vxPostProcessing launched");
    try
    {
        return AJobDriver(argc, argv, envp).Run();
    }
    catch (const std::exception& exception)
    {
        WriteStatusLine(STDERR_FILENO, std::string("ERROR: Unable to process the print job: ") + exception.what());
        return kJobFailed;
    }
}
