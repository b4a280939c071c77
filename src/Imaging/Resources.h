#pragma once

#include <string>

/// The folder that holds the program's property lists, message tables and guide pages: what the environment variable
/// VX_RESOURCES names, when it is set and not empty, else the installed share/vxpostprocessing. Without a slash at its
/// end, unless the variable has one.
[[nodiscard]] std::string GetResourceFolder();
