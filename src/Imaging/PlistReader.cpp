#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <optional>
#include <plist/plist.h>
#include <type_traits>
#include <utility>

#include "Imaging/PropertyListModule.h"

namespace
{

/// In bytes; far above any real list, and the parser counts in 32 bits.
constexpr std::size_t kLargestFile = 16777216;

struct APlistDeleter
{
    void operator()(plist_t inNode) const { plist_free(inNode); }
};
using APlist = std::unique_ptr<std::remove_pointer_t<plist_t>, APlistDeleter>;

struct AFreeDeleter
{
    void operator()(void* inMemory) const { std::free(inMemory); }
};

/// Null for what is no property list.
APlist ParseFile(const std::string& inPath)
{
    std::ifstream file(inPath, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    plist_t root = nullptr;
    if (text.size() <= kLargestFile)
    {
        plist_from_xml(text.data(), static_cast<std::uint32_t>(text.size()), &root);
    }
    return APlist(root);
}

std::optional<std::string> ReadText(plist_t inNode)
{
    if (plist_get_node_type(inNode) != PLIST_STRING)
    {
        return std::nullopt;
    }
    std::uint64_t length = 0;
    const char* const text = plist_get_string_ptr(inNode, &length);
    return text == nullptr ? std::string() : std::string(text, length);
}

/// The entries that inReadValue, a function of a node, finds a value in.
template <typename AReadValue>
auto ReadDictionary(plist_t inNode, AReadValue inReadValue)
    -> std::optional<std::map<std::string, typename std::invoke_result_t<AReadValue, plist_t>::value_type, std::less<>>>
{
    if (inNode == nullptr || plist_get_node_type(inNode) != PLIST_DICT)
    {
        return std::nullopt;
    }
    std::map<std::string, typename std::invoke_result_t<AReadValue, plist_t>::value_type, std::less<>> entries;
    plist_dict_iter newIterator = nullptr;
    plist_dict_new_iter(inNode, &newIterator);
    const std::unique_ptr<void, AFreeDeleter> iterator(newIterator);
    for (plist_t value = nullptr;;)
    {
        char* newKey = nullptr;
        plist_dict_next_item(inNode, iterator.get(), &newKey, &value);
        const std::unique_ptr<char, AFreeDeleter> key(newKey);
        if (key == nullptr)
        {
            return entries;
        }
        if (auto read = inReadValue(value))
        {
            entries.insert_or_assign(key.get(), *std::move(read));
        }
    }
}

std::optional<ATextDictionary> ReadTexts(plist_t inNode)
{
    return ReadDictionary(inNode, ReadText);
}

} // namespace

extern "C" __attribute__((visibility("default"))) bool VXReadPropertyList(const std::string& inPath,
                                                                          APropertyList& outList) noexcept
{
    const APlist root = ParseFile(inPath);
    auto texts = ReadTexts(root.get());
    auto dictionaries = ReadDictionary(root.get(), ReadTexts);
    if (!texts || !dictionaries)
    {
        return false;
    }
    outList = {*std::move(texts), *std::move(dictionaries)};
    return true;
}
