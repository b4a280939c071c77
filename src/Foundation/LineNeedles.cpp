#include "Foundation/LineNeedles.h"

#include <algorithm>

namespace
{

/// True when the place can be where a comment opens its line.
bool IsCommentPlace(std::string_view inData, std::size_t inAt, ALineStart inStart)
{
    while (inAt > 0 && !IsLineEnd(inData[inAt - 1]))
    {
        if (!IsBlankByte(inData[--inAt]))
        {
            return false;
        }
    }
    return inAt > 0 || inStart != ALineStart::kInsideLine;
}

} // namespace

ALineNeedles::ALineNeedles(const std::vector<std::string>& inTexts) : fTexts(inTexts)
{
    std::vector<APairSearch::APair> pairs;
    for (const std::string& text : fTexts)
    {
        // A needle of one byte has no pair to look for; none of the usual ones is so short.
        fMatchEveryLine = fMatchEveryLine || text.size() < 2;
        fLongest = std::max(fLongest, text.size());
        if (text.size() < 2)
        {
            continue;
        }
        const APairSearch::APair pair{static_cast<std::uint8_t>(text[0]), static_cast<std::uint8_t>(text[1])};
        if (std::find(pairs.begin(), pairs.end(), pair) == pairs.end())
        {
            pairs.push_back(pair);
        }
    }
    fSearch = APairSearch(std::move(pairs));
}

std::size_t ALineNeedles::GetMatchLength(std::string_view inData, std::size_t inAt, ALineStart inStart) const
{
    const std::string_view rest = inData.substr(inAt);
    std::size_t shortest = 0;
    for (const std::string& text : fTexts)
    {
        const bool isBetter = shortest == 0 || text.size() < shortest;
        if (isBetter && rest.starts_with(text) && (!AJobLine::IsComment(text) || IsCommentPlace(inData, inAt, inStart)))
        {
            shortest = text.size();
        }
    }
    return shortest;
}

ALineNeedles::AFound ALineNeedles::Find(std::string_view inData, std::size_t inFrom, ALineStart inStart) const
{
    const char* const end = inData.data() + inData.size();
    for (const char* at = inData.data() + std::min(inFrom, inData.size());; ++at)
    {
        at = fSearch.Find(at, end);
        if (at == end)
        {
            return {std::string_view::npos, 0};
        }
        const auto offset = static_cast<std::size_t>(at - inData.data());
        if (const std::size_t length = GetMatchLength(inData, offset, inStart); length != 0)
        {
            return {offset, length};
        }
    }
}
