#include "FuzzSupport.h"
#include "Imaging/PropertyList.h"

/// The input is the file.
void Fuzz(std::string_view inInput)
{
    const AMemoryFile file(inInput);
    const auto texts = ReadTextDictionary(file.GetPath());
    const auto dictionaries = ReadTextDictionaries(file.GetPath());
    Require(texts.has_value() == dictionaries.has_value(), "a file is a property list or it is none");
    for (const auto& [key, value] : texts.value_or(ATextDictionary()))
    {
        Require(!dictionaries->contains(key), "an entry is a text or a dictionary");
    }
}
