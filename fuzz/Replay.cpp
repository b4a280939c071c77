#include <filesystem>
#include <fstream>
#include <iterator>

#include "FuzzSupport.h"

/// Runs the target once with each file of a folder. A fault ends it, as it would end the fuzzing engine; without any
/// input it fails, since it has shown nothing.
int main(int /*argc*/, char** argv)
{
    for (const auto& entry : std::filesystem::directory_iterator(argv[1]))
    {
        std::fprintf(stderr, "%s\n", entry.path().c_str());
        std::ifstream file(entry.path(), std::ios::binary);
        Fuzz(std::string(std::istreambuf_iterator<char>(file), {}));
    }
    return std::filesystem::is_empty(argv[1]) ? 1 : 0;
}
