#include "FuzzSupport.h"
#include "Imaging/PropertyList.h"

/// The input is the file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize)
{
    const AMemoryFile file(AsText(inData, inSize));
    const auto texts = ReadTextDictionary(file.GetPath());
    const auto dictionaries = ReadTextDictionaries(file.GetPath());
    Require(texts.has_value() == dictionaries.has_value(), "a file is a property list or it is none");
    if (texts)
    {
        for (const auto& [key, value] : *texts)
        {
            Require(!dictionaries->contains(key), "an entry is a text or a dictionary");
        }
    }
    return 0;
}
