#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

/// "openServiceURL": a page to be shown.
struct AOpenURLRequest
{
    std::string fURL;
};

/// "performPPDAction": a program of the user's to be run for a job.
struct APPDActionRequest
{
    std::string fAction;
    std::string fQueue;
    std::string fJobIdentifier;
};

using AAgentRequest = std::variant<AOpenURLRequest, APPDActionRequest>;

/// Reads one message, a JSON object on one line: {"method":"openServiceURL","params":["URL"]} or
/// {"method":"performPPDAction","params":["ACTION",["QUEUE","JOBID"]]}. None for anything else.
[[nodiscard]] std::optional<AAgentRequest> ReadAgentRequest(std::string_view inLine);

/// Whether a browser may be sent there: an http or https URL (RFC 3986) with a host, in printable ASCII.
[[nodiscard]] bool IsWebURL(std::string_view inURL);
