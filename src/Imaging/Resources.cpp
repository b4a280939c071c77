#include "Imaging/Resources.h"

#include <cstdlib>

std::string GetResourceFolder()
{
    const char* const folder = std::getenv("VX_RESOURCES");
    return folder != nullptr && *folder != '\0' ? folder : VX_RESOURCE_FOLDER;
}
