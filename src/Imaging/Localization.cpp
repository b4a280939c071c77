#include "Imaging/Localization.h"

#include "Imaging/HostFacts.h"
#include "Imaging/PropertyList.h"
#include "Imaging/Resources.h"

namespace
{

constexpr std::string_view kNameCharacters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-";

std::string_view GetLocale()
{
    const std::string_view locale = GetEnvironment("LANG");
    // CUPS sets LANG from the job: its characters after the name (".UTF-8", "@euro") do not count, and none may lead
    // out of the folder.
    return locale.substr(0, locale.find_first_not_of(kNameCharacters));
}

std::optional<ATextDictionary> ReadTable(std::string_view inLanguage)
{
    return inLanguage.empty()
               ? std::nullopt
               : ReadTextDictionary(GetResourceFolder() + "/Localizable/" + std::string(inLanguage) + ".plist");
}

ATextDictionary ReadUsersTable()
{
    const std::string_view locale = GetLocale();
    for (const std::string_view language : {locale, locale.substr(0, locale.find('_')), std::string_view("en")})
    {
        if (auto table = ReadTable(language))
        {
            return *std::move(table);
        }
    }
    return {};
}

} // namespace

std::string CreateLocalizedString(const std::string& inKey)
{
    const ATextDictionary table = ReadUsersTable();
    const auto found = table.find(inKey);
    return found != table.end() ? found->second : inKey;
}
