#pragma once

#include <chrono>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

/// Where a printer is asked.
struct AIPPAddress
{
    std::string fURI; ///< as the request names the printer
    std::string fHost;
    int fPort = 0;
    std::string fResource;
    bool fIsSecure = false; ///< TLS from the first byte
};

/// What a printer answered to Get-Printer-Attributes (RFC 8011, 4.2.5).
struct AIPPAnswer
{
    bool fIsValid = false; ///< the printer answered, and successfully
    std::string fError;    ///< why not, for people
    std::optional<int> fState;
    std::vector<std::string> fStateReasons;
};

/// Asks a printer for its state once.
///
/// Gives up after inTimeLimit and when a stop was requested, whatever the printer does: the exchange runs in a thread
/// of its own whose connection is cut then. Should that thread still not end (a name service that hangs cannot be
/// interrupted), it is left behind after half a second, and ends by itself.
[[nodiscard]] AIPPAnswer AskPrinter(const AIPPAddress& inAddress, std::chrono::milliseconds inTimeLimit,
                                    const std::stop_token& inStop);
