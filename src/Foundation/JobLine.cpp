#include "Foundation/JobLine.h"

#include <algorithm>

bool AJobLine::HoldsComment(std::string_view inComment) const
{
    if (fStart == ALineStart::kInsideLine)
    {
        return false;
    }
    std::string_view text = GetVisibleText();
    const auto* first = std::find_if_not(text.begin(), text.end(), IsBlankByte);
    text.remove_prefix(static_cast<std::size_t>(first - text.begin()));
    return text.starts_with(inComment);
}

bool IsBlank(std::string_view inText)
{
    return std::all_of(inText.begin(), inText.end(), IsBlankByte);
}
