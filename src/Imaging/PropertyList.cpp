#include "Imaging/PropertyList.h"

#include <utility>

#include "Imaging/Module.h"
#include "Imaging/PropertyListModule.h"

namespace
{

std::optional<APropertyList> ReadPropertyList(const std::string& inPath)
{
    static APropertyListFunction* const read =
        LoadModuleFunction<APropertyListFunction>(kPropertyListModule, kPropertyListFunction);
    APropertyList list;
    return read != nullptr && read(inPath, list) ? std::optional(std::move(list)) : std::nullopt;
}

} // namespace

std::optional<ATextDictionary> ReadTextDictionary(const std::string& inPath)
{
    auto list = ReadPropertyList(inPath);
    return list ? std::optional(std::move(list->fTexts)) : std::nullopt;
}

std::optional<ATextDictionaries> ReadTextDictionaries(const std::string& inPath)
{
    auto list = ReadPropertyList(inPath);
    return list ? std::optional(std::move(list->fDictionaries)) : std::nullopt;
}
