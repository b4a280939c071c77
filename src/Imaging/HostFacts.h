#pragma once

#include <ctime>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <sys/types.h>

/// The value of the environment variable; empty also when it is not set.
[[nodiscard]] std::string_view GetEnvironment(const char* inName);

/// Seconds since 1970 UTC: the environment variable SOURCE_DATE_EPOCH (reproducible-builds.org) when it holds a whole
/// number up to the end of the year 9999, else the clock.
[[nodiscard]] std::time_t GetCurrentTime();

/// The current time in UTC as "YYYY-MM-DDThh:mm:ssZ" (ISO 8601).
[[nodiscard]] std::string CreateTimeStamp();

/// A new random UUID (RFC 9562 version 4): 36 characters, lower case.
[[nodiscard]] std::string CreateUUID();

/// The host name up to its first dot; empty when the system does not tell it.
[[nodiscard]] std::string CreateComputerName();

/// What follows the first dot of the host name, else the first search domain of the resolver configuration
/// (resolv.conf(5)), else empty. The network is never asked.
[[nodiscard]] std::string CreateDomainName();

/// The version of the system that the print dialog ran on, as four decimal digits in the nibbles: two of the major
/// number, minor, patch. 10.3.9 is 0x1039. Taken from the environment variable VX_SYSTEM_VERSION ("10.3", "10.3.9");
/// 0x1050 when that is not set or holds anything else.
[[nodiscard]] unsigned GetSystemVersion();

/// The names of the groups that the user is a member of, the primary group included; a group without a name is left
/// out. Empty for an unknown user.
[[nodiscard]] std::set<std::string> GetGroupsForUser(const std::string& inUserName);

/// None for a user this host does not know.
[[nodiscard]] std::optional<uid_t> FindUserID(const std::string& inUserName);

/// Where the running program lies, with a slash at its end; empty when the system does not tell it.
[[nodiscard]] std::string GetProgramFolder();

/// True for a readable regular file, no link, that only root or the program's own user can have written.
[[nodiscard]] bool IsTrustedFile(const char* inPath);
