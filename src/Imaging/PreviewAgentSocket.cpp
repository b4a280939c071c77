#include "Imaging/PreviewAgentSocket.h"

#include <string_view>
#include <sys/un.h>

#include "Imaging/HostFacts.h"

namespace
{

/// With the NUL behind it.
constexpr std::size_t kPathSpace = sizeof(sockaddr_un::sun_path);

std::string_view GetSetPath()
{
    return GetEnvironment("VX_PREVIEW_AGENT_SOCKET");
}

bool IsFolderName(const std::string& inName)
{
    return !inName.empty() && inName != "." && inName != ".." && inName.find('/') == std::string::npos;
}

std::string FindPath(const std::string& inUser)
{
    if (IsPreviewAgentSocketSet())
    {
        return std::string(GetSetPath());
    }
    return IsFolderName(inUser) ? "/run/vxpostprocessing/" + inUser + "/com.vx.postprocessing.agent" : "";
}

} // namespace

bool IsPreviewAgentSocketSet()
{
    return !GetSetPath().empty();
}

std::string GetPreviewAgentSocketPath(const std::string& inUser)
{
    const std::string path = FindPath(inUser);
    return path.size() < kPathSpace ? path : "";
}
