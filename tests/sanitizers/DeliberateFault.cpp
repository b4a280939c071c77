#include <climits>
#include <cstdio>
#include <cstring>
#include <memory>
#include <thread>

/// Commits the fault that its argument names. A build whose sanitizer is on dies of it; any other one survives.
int main(int argc, char** argv)
{
    const char* const fault = argc == 2 ? argv[1] : "";
    if (std::strcmp(fault, "address") == 0)
    {
        const auto bytes = std::make_unique<volatile char[]>(8);
        bytes[8 * static_cast<std::size_t>(argc) / 2] = 1;
    }
    if (std::strcmp(fault, "undefined") == 0)
    {
        volatile int number = INT_MAX;
        number = number + 1;
    }
    if (std::strcmp(fault, "thread") == 0)
    {
        int shared = 0;
        std::thread other([&shared] { ++shared; });
        ++shared;
        other.join();
    }
    std::puts("survived");
    return 0;
}
