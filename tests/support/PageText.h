#pragma once

#include <string>
#include <string_view>

/// The pages of a job in the order in which they come, by what MakeJob drew on them: "3 2 1"; B a page with nothing on
/// it, G a guide. A page comment that does not bear its place in the job stands as "!".
inline std::string ShowPages(std::string_view inJob)
{
    std::string pages;
    std::size_t at = inJob.find("%%Page: ");
    for (int number = 1; at != std::string_view::npos; ++number)
    {
        const std::size_t next = inJob.find("%%Page: ", at + 1);
        const std::string_view page = inJob.substr(at, next - at);
        const std::string label = std::to_string(number);
        const std::string place = " " + label + "\n";
        const bool isGuide = page.starts_with("%%Page: (reinsertion)" + place);
        const bool isPage = page.starts_with("%%Page: " + label + place);
        const std::size_t drawn = page.find("(page ");
        const std::string_view name = drawn == std::string_view::npos ? "B" : page.substr(drawn + 6);
        pages.append(pages.empty() ? "" : " ");
        pages.append(isGuide ? "G" : (isPage ? name.substr(0, name.find(')')) : std::string_view("!")));
        at = next;
    }
    return pages;
}
