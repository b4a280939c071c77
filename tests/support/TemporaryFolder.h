#pragma once

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <stdlib.h>
#include <string>
#include <string_view>

/// A new folder that is gone with all it holds when this object is.
class ATemporaryFolder
{
public:
    ATemporaryFolder()
    {
        std::string name = std::filesystem::temp_directory_path() / "vxtest.XXXXXX";
        if (mkdtemp(name.data()) == nullptr)
        {
            throw std::runtime_error("no temporary folder");
        }
        fPath = name;
    }
    ~ATemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(fPath, ignored);
    }
    ATemporaryFolder(const ATemporaryFolder&) = delete;
    ATemporaryFolder& operator=(const ATemporaryFolder&) = delete;

    [[nodiscard]] std::string GetPath(const std::string& inName = "") const { return fPath / inName; }

    /// Writes a file, with the folders on its way, and returns its path.
    std::string Write(const std::string& inName, std::string_view inContent) const
    {
        const std::filesystem::path path = fPath / inName;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << inContent;
        return path;
    }

private:
    std::filesystem::path fPath;
};
