#pragma once

#include <string>

/// The folder of the files that are installed with the program, without a slash at its end: the environment variable
/// VX_RESOURCES when it is set and not empty, else share/vxpostprocessing below the installation prefix.
[[nodiscard]] std::string GetResourceFolder();
