#include "Imaging/Module.h"

#include <string>

#include <dlfcn.h>
#include <unistd.h>

#include "Imaging/HostFacts.h"
#include "Imaging/Logger.h"

namespace
{

/// Beside the program as it was built, else where it is installed, else where it was built: a program that was copied
/// away finds its modules too, unless somebody else can have put them there.
std::string FindModule(const std::string& inName)
{
    const std::string installed = VX_INSTALLED_MODULES "/" + inName;
    const std::string built = VX_BUILT_MODULES "/" + inName;
    for (const std::string& path : {GetProgramFolder() + inName, installed})
    {
        if (access(path.c_str(), R_OK) == 0)
        {
            return path;
        }
    }
    return IsTrustedFile(built.c_str()) ? built : installed;
}

} // namespace

void* LoadModuleSymbol(const char* inModule, const char* inFunction)
{
    void* const module = dlopen(FindModule(inModule).c_str(), RTLD_NOW | RTLD_LOCAL);
    void* const function = module != nullptr ? dlsym(module, inFunction) : nullptr;
    if (function == nullptr)
    {
        LoggerLogMessage(kLogError, "A module is not available: %s\n", dlerror());
    }
    return function;
}
