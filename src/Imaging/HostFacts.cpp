#include "Imaging/HostFacts.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdlib>
#include <grp.h>
#include <netinet/in.h>
#include <optional>
#include <pwd.h>
#include <resolv.h>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <uuid/uuid.h>
#include <vector>

namespace
{

constexpr long long kEndOfYear9999 = 253402300799;
constexpr unsigned kDefaultSystemVersion = 0x1050;

/// Packs "M.m", "M.m.p" or the same with a two-digit M, each letter one digit.
std::optional<unsigned> PackVersion(std::string_view inVersion)
{
    const std::size_t dot = std::min(inVersion.find('.'), inVersion.size());
    const std::string_view tail = inVersion.substr(dot);
    const bool hasPatch = tail.size() == 4 && tail[2] == '.';
    if (dot == 0 || dot > 2 || (tail.size() != 2 && !hasPatch))
    {
        return std::nullopt;
    }
    std::string digits(inVersion.substr(0, dot));
    digits += tail[1];
    digits += hasPatch ? tail[3] : '0';
    if (digits.find_first_not_of("0123456789") != std::string::npos)
    {
        return std::nullopt;
    }
    unsigned packed = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), packed, 16);
    return packed;
}

std::string GetHostName()
{
    std::array<char, HOST_NAME_MAX + 1> name{};
    // A name that was cut may lack its NUL: the last byte is kept out of the system's reach.
    return gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "";
}

/// Reads the resolver's configuration, which sends nothing.
std::string GetFirstSearchDomain()
{
    struct __res_state resolver = {};
    if (res_ninit(&resolver) != 0)
    {
        return {};
    }
    std::string domain = resolver.dnsrch[0] == nullptr ? "" : resolver.dnsrch[0];
    res_nclose(&resolver);
    while (domain.ends_with('.'))
    {
        domain.pop_back();
    }
    return domain;
}

/// Runs one of the getpw..._r and getgr..._r calls with a buffer that grows until the record fits, and hands the record
/// to inRead, whose result it returns; none when there is no such record.
template <typename Record, typename Call, typename Read>
auto LookUpAccount(Call inCall, Read inRead) -> std::optional<decltype(inRead(std::declval<const Record&>()))>
{
    constexpr std::size_t kEnough = std::size_t{64} << 20U;
    for (std::size_t size = 1024; size <= kEnough; size *= 2)
    {
        std::vector<char> buffer(size);
        Record record = {};
        Record* found = nullptr;
        const int status = inCall(&record, buffer.data(), buffer.size(), &found);
        if (status == 0 && found != nullptr)
        {
            return inRead(*found);
        }
        if (status != ERANGE)
        {
            break;
        }
    }
    return std::nullopt;
}

std::optional<gid_t> FindPrimaryGroup(const std::string& inUserName)
{
    return LookUpAccount<passwd>([&](auto... inBuffer) { return getpwnam_r(inUserName.c_str(), inBuffer...); },
                                 [](const passwd& inUser) { return inUser.pw_gid; });
}

std::optional<std::string> FindGroupName(gid_t inGroup)
{
    return LookUpAccount<group>([&](auto... inBuffer) { return getgrgid_r(inGroup, inBuffer...); },
                                [](const group& inRecord) { return std::string(inRecord.gr_name); });
}

std::vector<gid_t> ListGroups(const std::string& inUserName, gid_t inPrimaryGroup)
{
    std::vector<gid_t> groups(64);
    auto count = static_cast<int>(groups.size());
    while (getgrouplist(inUserName.c_str(), inPrimaryGroup, groups.data(), &count) < 0)
    {
        // The count that comes back is the one needed now; the database may grow in between.
        groups.resize(std::max(groups.size() * 2, static_cast<std::size_t>(count)));
        count = static_cast<int>(groups.size());
    }
    groups.resize(static_cast<std::size_t>(count));
    return groups;
}

} // namespace

std::string_view GetEnvironment(const char* inName)
{
    const char* const value = std::getenv(inName);
    return value == nullptr ? std::string_view() : std::string_view(value);
}

std::time_t GetCurrentTime()
{
    const std::string_view epoch = GetEnvironment("SOURCE_DATE_EPOCH");
    const char* const end = epoch.data() + epoch.size();
    long long seconds = 0;
    const auto result = std::from_chars(epoch.data(), end, seconds);
    const bool isWhole = result.ec == std::errc() && result.ptr == end;
    return isWhole && seconds >= 0 && seconds <= kEndOfYear9999 ? seconds : std::time(nullptr);
}

std::string CreateTimeStamp()
{
    const std::time_t now = GetCurrentTime();
    std::tm parts = {};
    gmtime_r(&now, &parts);
    std::array<char, sizeof "YYYY-MM-DDThh:mm:ssZ"> stamp{};
    return {stamp.data(), std::strftime(stamp.data(), stamp.size(), "%Y-%m-%dT%H:%M:%SZ", &parts)};
}

std::string CreateUUID()
{
    uuid_t uuid = {};
    uuid_generate_random(uuid);
    std::array<char, UUID_STR_LEN> text{};
    uuid_unparse_lower(uuid, text.data());
    return text.data();
}

std::string CreateComputerName()
{
    const std::string name = GetHostName();
    return name.substr(0, name.find('.'));
}

std::string CreateDomainName()
{
    const std::string name = GetHostName();
    const std::size_t dot = name.find('.');
    return dot == std::string::npos || dot + 1 == name.size() ? GetFirstSearchDomain() : name.substr(dot + 1);
}

unsigned GetSystemVersion()
{
    return PackVersion(GetEnvironment("VX_SYSTEM_VERSION")).value_or(kDefaultSystemVersion);
}

std::set<std::string> GetGroupsForUser(const std::string& inUserName)
{
    std::set<std::string> names;
    const std::optional<gid_t> primary = FindPrimaryGroup(inUserName);
    if (!primary)
    {
        return names;
    }
    for (const gid_t group : ListGroups(inUserName, *primary))
    {
        if (std::optional<std::string> name = FindGroupName(group))
        {
            names.insert(*std::move(name));
        }
    }
    return names;
}

std::optional<uid_t> FindUserID(const std::string& inUserName)
{
    return LookUpAccount<passwd>([&](auto... inBuffer) { return getpwnam_r(inUserName.c_str(), inBuffer...); },
                                 [](const passwd& inUser) { return inUser.pw_uid; });
}

std::string GetProgramFolder()
{
    std::array<char, PATH_MAX> path{};
    const ssize_t length = readlink("/proc/self/exe", path.data(), path.size());
    const std::string_view program(path.data(), static_cast<std::size_t>(std::max<ssize_t>(0, length)));
    return std::string(program.substr(0, program.rfind('/') + 1));
}

bool IsTrustedFile(const char* inPath)
{
    struct stat info = {};
    return lstat(inPath, &info) == 0 && S_ISREG(info.st_mode) && (info.st_uid == 0 || info.st_uid == geteuid()) &&
           (info.st_mode & (S_IWGRP | S_IWOTH)) == 0 && access(inPath, R_OK) == 0;
}
