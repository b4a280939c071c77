#include "Imaging/Resources.h"

#include "Imaging/HostFacts.h"

std::string GetResourceFolder()
{
    const std::string_view folder = GetEnvironment("VX_RESOURCES");
    return std::string(folder.empty() ? VX_RESOURCE_FOLDER : folder);
}
