#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include <sys/mman.h>
#include <unistd.h>

/// What a target does with one input.
void Fuzz(std::string_view inInput);

/// The entry that the fuzzing engine calls.
extern "C" [[gnu::used]] inline int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize)
{
    Fuzz({reinterpret_cast<const char*>(inData), inSize});
    return 0;
}

/// Ends the process, with a word on what does not hold: to the engine, and to the replay, this input breaks the
/// program.
inline void Require(bool inCondition, const char* inWhat)
{
    if (!inCondition)
    {
        std::fprintf(stderr, "does not hold: %s\n", inWhat);
        std::abort();
    }
}

/// Takes the text up to the separator off the front of ioText; all of it when there is no separator.
inline std::string_view TakeUpTo(std::string_view& ioText, std::string_view inSeparator)
{
    const std::string_view part = ioText.substr(0, ioText.find(inSeparator));
    ioText.remove_prefix(part.size() == ioText.size() ? part.size() : part.size() + inSeparator.size());
    return part;
}

/// A file in memory that has a name while it lives.
class AMemoryFile
{
public:
    AMemoryFile() : fDescriptor(memfd_create("fuzz", MFD_CLOEXEC)) { Require(fDescriptor >= 0, "memfd_create"); }
    explicit AMemoryFile(std::string_view inText) : AMemoryFile()
    {
        Require(write(fDescriptor, inText.data(), inText.size()) == static_cast<ssize_t>(inText.size()), "write");
    }
    ~AMemoryFile() { close(fDescriptor); }
    AMemoryFile(const AMemoryFile&) = delete;
    AMemoryFile& operator=(const AMemoryFile&) = delete;

    [[nodiscard]] int GetDescriptor() const { return fDescriptor; }
    [[nodiscard]] std::string GetPath() const { return "/proc/self/fd/" + std::to_string(fDescriptor); }

private:
    int fDescriptor;
};
