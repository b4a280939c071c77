#include "Imaging/TextLayout.h"

#include <filesystem>
#include <system_error>

#include <dlfcn.h>

#include "Imaging/Logger.h"
#include "Imaging/TextLayoutModule.h"

namespace
{

using APath = std::filesystem::path;

/// Beside the program as it was built, else where it is installed.
APath FindModule()
{
    std::error_code error;
    const APath built = std::filesystem::read_symlink("/proc/self/exe", error).parent_path() / kTextLayoutModule;
    return std::filesystem::exists(built, error) ? built : APath(VX_MODULE_FOLDER) / kTextLayoutModule;
}

/// The module stays loaded: the libraries behind it keep threads and caches that outlive any use of them.
ATextLayoutFunction* LoadModule()
{
    void* const module = dlopen(FindModule().c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const function = module != nullptr ? dlsym(module, kTextLayoutFunction) : nullptr;
    if (function == nullptr)
    {
        LoggerLogMessage(kLogError, "Text layout is not available: %s\n", dlerror());
    }
    return reinterpret_cast<ATextLayoutFunction*>(function);
}

} // namespace

std::optional<ATextLine> LayOutText(const std::string& inText, const std::string& inFont)
{
    static ATextLayoutFunction* const layOut = LoadModule();
    if (layOut == nullptr)
    {
        return std::nullopt;
    }
    ATextLine line;
    if (!layOut(inText, inFont, line))
    {
        LoggerLogMessage(kLogError, "Text layout is not available: no font is installed\n");
        return std::nullopt;
    }
    return line;
}
