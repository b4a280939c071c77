#include "Imaging/PreviewAgentSocket.h"

#include <cstdlib>
#include <sys/un.h>

namespace
{

constexpr const char* kVariable = "VX_PREVIEW_AGENT_SOCKET";

/// With the NUL behind it.
constexpr std::size_t kPathSpace = sizeof(sockaddr_un::sun_path);

bool IsFolderName(const std::string& inName)
{
    return !inName.empty() && inName != "." && inName != ".." && inName.find('/') == std::string::npos;
}

std::string FindPath(const std::string& inUser)
{
    if (IsPreviewAgentSocketSet())
    {
        return std::getenv(kVariable);
    }
    return IsFolderName(inUser) ? "/run/vxpostprocessing/" + inUser + "/com.vx.postprocessing.agent" : "";
}

} // namespace

bool IsPreviewAgentSocketSet()
{
    const char* const path = std::getenv(kVariable);
    return path != nullptr && *path != '\0';
}

std::string GetPreviewAgentSocketPath(const std::string& inUser)
{
    const std::string path = FindPath(inUser);
    return path.size() < kPathSpace ? path : "";
}
