#include "Imaging/Logger.h"

#include "Imaging/DescriptorOutput.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <mutex>
#include <string>
#include <string_view>
#include <unistd.h>

namespace
{

constexpr std::string_view kMessagePlace = "%msg";
constexpr std::size_t kUsualLength = 127; // of a message, in bytes

/// Read without the lock, so that a dropped record costs nothing but this.
std::atomic<int> gLevel = kLogTrace;

/// Where records go and what surrounds a message.
class ALogSink
{
public:
    void SetFile(const char* inPath)
    {
        // A log file that cannot be opened must not silence the log.
        const int descriptor = inPath == nullptr ? -1 : open(inPath, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        const std::scoped_lock lock(fMutex);
        if (fDescriptor != STDERR_FILENO)
        {
            close(fDescriptor);
        }
        fDescriptor = descriptor < 0 ? STDERR_FILENO : descriptor;
    }

    void SetFormat(std::string_view inFormat)
    {
        const std::size_t place = inFormat.find(kMessagePlace);
        const std::scoped_lock lock(fMutex);
        fPrefix = inFormat.substr(0, place);
        fSuffix = place == std::string_view::npos ? "" : inFormat.substr(place + kMessagePlace.size());
    }

    /// The lock is held over the write: the rest of a short one must not end up inside another thread's record.
    void Write(std::string_view inMessage)
    {
        const std::scoped_lock lock(fMutex);
        // A log that cannot be written is no reason to lose the job.
        static_cast<void>(WriteWhole(fDescriptor, ComposeRecord(inMessage)));
    }

private:
    [[nodiscard]] std::string ComposeRecord(std::string_view inMessage) const
    {
        std::string_view rest = inMessage.substr(0, inMessage.find_last_not_of("\r\n") + 1);
        std::string record = fPrefix;
        for (std::size_t end = rest.find('\n'); end != std::string_view::npos; end = rest.find('\n'))
        {
            record.append(rest.substr(0, end + 1)).append(fPrefix);
            rest.remove_prefix(end + 1);
        }
        return record.append(rest).append(fSuffix).append("\n");
    }

    std::mutex fMutex;
    int fDescriptor = STDERR_FILENO;
    std::string fPrefix = "DEBUG: ";
    std::string fSuffix;
};

/// Built at the first use, which comes before any other static object of the program: so it outlives them all.
ALogSink& GetSink()
{
    static ALogSink sink;
    return sink;
}

__attribute__((format(printf, 1, 0))) std::string FormatMessage(const char* inFormat, va_list inArguments)
{
    std::string message(kUsualLength, '\0');
    va_list first;
    va_copy(first, inArguments);
    const int length = vsnprintf(message.data(), message.size() + 1, inFormat, first);
    va_end(first);
    if (length < 0)
    {
        return inFormat;
    }
    const bool fits = static_cast<std::size_t>(length) <= message.size();
    message.resize(static_cast<std::size_t>(length));
    if (!fits)
    {
        vsnprintf(message.data(), message.size() + 1, inFormat, inArguments);
    }
    return message;
}

} // namespace

void LoggerSetLogLevel(int inLevel)
{
    gLevel = inLevel;
}

void LoggerSetLogToFile(const char* inPath)
{
    GetSink().SetFile(inPath);
}

void LoggerSetFormat(const char* inFormat)
{
    GetSink().SetFormat(inFormat);
}

void LoggerLogMessage(ALogSite inSite, const char* inFormat, ...)
{
    if (inSite.fLevel > gLevel)
    {
        return;
    }
    va_list arguments;
    va_start(arguments, inFormat);
    const std::string message = FormatMessage(inFormat, arguments);
    va_end(arguments);
    GetSink().Write(message);
}

bool LogUnless(bool inCondition, const char* inExpression, ASourcePlace inWhere)
{
    if (!inCondition)
    {
        LoggerLogMessage({kLogAssertion, inWhere}, "%s assertion failed", inExpression);
    }
    return inCondition;
}

void LogEnteredFunction(ASourcePlace inWhere)
{
    LoggerLogMessage({kLogTrace, inWhere}, "Entered function");
}
