#pragma once

#include <string>

/// Path of the Unix-domain socket that a user's preview agent listens on: what the environment variable
/// VX_PREVIEW_AGENT_SOCKET names, else /run/vxpostprocessing/USER/com.vx.postprocessing.agent. Empty for a path that no
/// socket can have (108 bytes and more) and for a user whose name is no folder's.
[[nodiscard]] std::string GetPreviewAgentSocketPath(const std::string& inUser);

/// Whether the socket's path was set from outside. Otherwise its folder is the user's own.
[[nodiscard]] bool IsPreviewAgentSocketSet();
