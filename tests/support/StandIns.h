#pragma once

#include <filesystem>
#include <string>

#include "Launch.h"
#include "TemporaryFolder.h"

/// Programs that stand where the system's conversion filters do (CUPS_SERVERBIN), as shell scripts. By default each
/// hands its input on unchanged, so that a test sees what the filter gave and took.
class AStandIns
{
public:
    explicit AStandIns(const std::string& inToPDF = "cat", const std::string& inToPostScript = "cat \"$6\"")
    {
        Put("gstopdf", inToPDF);
        Put("pdftops", inToPostScript);
    }

    /// The value of CUPS_SERVERBIN. The scripts find the folder as $CUPS_SERVERBIN and may leave files there.
    [[nodiscard]] std::string GetPath() const { return fFolder.GetPath(); }

    /// What a script left there.
    [[nodiscard]] std::string Read(const std::string& inName) const { return ReadFile(fFolder.GetPath(inName)); }

private:
    void Put(const std::string& inName, const std::string& inScript) const
    {
        const std::string path = fFolder.Write("filter/" + inName, "#!/bin/sh\n" + inScript + "\n");
        std::filesystem::permissions(path, std::filesystem::perms::owner_all);
    }

    ATemporaryFolder fFolder;
};
