#include "agent/AgentRequest.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <vector>

#include "Imaging/TextComparison.h"

namespace
{

bool IsText(const nlohmann::json& inValue)
{
    return inValue.is_string();
}

bool AreTexts(const nlohmann::json& inValue, std::size_t inCount)
{
    return inValue.is_array() && inValue.size() == inCount && std::all_of(inValue.begin(), inValue.end(), IsText);
}

} // namespace

std::optional<AAgentRequest> ReadAgentRequest(std::string_view inLine)
{
    constexpr bool kThrows = false;
    const nlohmann::json message = nlohmann::json::parse(inLine, nullptr, kThrows);
    if (!message.is_object() || !message.contains("method") || !message.contains("params"))
    {
        return std::nullopt;
    }
    const nlohmann::json& parameters = message["params"];
    if (message["method"] == "openServiceURL" && AreTexts(parameters, 1))
    {
        return AOpenURLRequest{parameters[0]};
    }
    if (message["method"] == "performPPDAction" && parameters.is_array() && parameters.size() == 2 &&
        IsText(parameters[0]) && AreTexts(parameters[1], 2))
    {
        return APPDActionRequest{parameters[0], parameters[1][0], parameters[1][1]};
    }
    return std::nullopt;
}

bool IsWebURL(std::string_view inURL)
{
    const auto isPrintable = [](char inByte) { return inByte > ' ' && inByte < '\x7f'; };
    for (const std::string_view scheme : {"http://", "https://"})
    {
        if (StartsWithWithoutCase(inURL, scheme))
        {
            const std::string_view rest = inURL.substr(scheme.size());
            return !rest.empty() && rest.front() != '/' && std::all_of(rest.begin(), rest.end(), isPrintable);
        }
    }
    return false;
}
