#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "FuzzSupport.h"

/// Runs the target once with each file of the folders and files that are named. A fault ends it, as it would end the
/// fuzzing engine; without any input it fails, since it has shown nothing.
int main(int argc, char** argv)
{
    namespace fs = std::filesystem;
    std::vector<fs::path> paths;
    for (int i = 1; i < argc; ++i)
    {
        fs::is_directory(argv[i]) ? paths.insert(paths.end(), fs::directory_iterator(argv[i]), fs::directory_iterator())
                                  : paths.insert(paths.end(), argv[i]);
    }
    for (const fs::path& path : paths)
    {
        std::fprintf(stderr, "%s\n", path.c_str());
        std::ifstream file(path, std::ios::binary);
        Fuzz(std::string(std::istreambuf_iterator<char>(file), {}));
    }
    return paths.empty() ? 1 : 0;
}
