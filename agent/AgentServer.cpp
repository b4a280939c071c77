#include "agent/AgentServer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

using AClock = std::chrono::steady_clock;

constexpr std::chrono::seconds kClientTime(2);
constexpr std::size_t kLargestMessage = 65536; ///< bytes from one client
constexpr int kWaitingClients = 16;

sockaddr_un MakeAddress(const std::string& inPath)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    inPath.copy(address.sun_path, sizeof(address.sun_path) - 1);
    return address;
}

std::string Explain(const std::string& inPath, const char* inWhy = nullptr)
{
    return inPath + ": " + (inWhy != nullptr ? inWhy : std::strerror(errno));
}

bool IsListenedOn(const sockaddr_un& inAddress)
{
    const int probe = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const bool isRefused =
        connect(probe, reinterpret_cast<const sockaddr*>(&inAddress), sizeof(inAddress)) != 0 && errno != EAGAIN;
    close(probe);
    return !isRefused;
}

/// A file that is no socket stays, and the name with it.
void RemoveDeadSocket(const std::string& inPath)
{
    struct stat state = {};
    if (lstat(inPath.c_str(), &state) == 0 && S_ISSOCK(state.st_mode))
    {
        unlink(inPath.c_str());
    }
}

bool WaitForInput(int inDescriptor, AClock::time_point inUntil)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(inUntil - AClock::now()).count();
    pollfd input{inDescriptor, POLLIN, 0};
    return left > 0 && poll(&input, 1, static_cast<int>(left)) > 0;
}

/// What a client sends until it closes, is silent for too long, or has said too much.
std::string ReadClient(int inClient)
{
    const AClock::time_point end = AClock::now() + kClientTime;
    std::string text;
    std::array<char, 4096> buffer{};
    while (text.size() < kLargestMessage && WaitForInput(inClient, end))
    {
        const ssize_t size = recv(inClient, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (size <= 0)
        {
            break;
        }
        text.append(buffer.data(), static_cast<std::size_t>(size));
    }
    return text;
}

void HandleLines(std::string_view inText, const AAgentServer::ALineHandler& inHandler)
{
    for (std::size_t end = inText.find('\n'); end != std::string_view::npos; end = inText.find('\n'))
    {
        inHandler(inText.substr(0, end));
        inText.remove_prefix(end + 1);
    }
}

} // namespace

std::string MakeSocketFolder(const std::string& inSocketPath)
{
    const std::string folder = std::filesystem::path(inSocketPath).parent_path();
    constexpr mode_t kOthersPassThrough = 0711;
    struct stat state = {};
    if (mkdir(folder.c_str(), kOthersPassThrough) != 0 && errno != EEXIST)
    {
        return Explain(folder);
    }
    if (lstat(folder.c_str(), &state) != 0)
    {
        return Explain(folder);
    }
    if (!S_ISDIR(state.st_mode) || state.st_uid != geteuid())
    {
        return Explain(folder, "not a folder of this user");
    }
    return chmod(folder.c_str(), kOthersPassThrough) == 0 ? "" : Explain(folder);
}

AAgentServer::~AAgentServer()
{
    if (fSocket >= 0)
    {
        unlink(fPath.c_str());
        close(fSocket);
    }
}

std::string AAgentServer::Listen()
{
    const sockaddr_un address = MakeAddress(fPath);
    if (IsListenedOn(address))
    {
        return Explain(fPath, "another agent is running");
    }
    RemoveDeadSocket(fPath);
    const int newSocket = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    // Who may send anything is decided by who it is, whatever user the print system runs as.
    constexpr mode_t kEverybody = 0666;
    if (newSocket < 0 || bind(newSocket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) != 0 ||
        chmod(fPath.c_str(), kEverybody) != 0 || listen(newSocket, kWaitingClients) != 0)
    {
        std::string why = Explain(fPath);
        close(newSocket);
        return why;
    }
    fSocket = newSocket;
    return "";
}

bool AAgentServer::IsWelcome(int inClient) const
{
    ucred peer{};
    socklen_t size = sizeof(peer);
    return getsockopt(inClient, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
           std::find(fUsers.begin(), fUsers.end(), peer.uid) != fUsers.end();
}

void AAgentServer::Serve(int inStopDescriptor, const ALineHandler& inHandler) const
{
    std::array<pollfd, 2> inputs{{{inStopDescriptor, POLLIN, 0}, {fSocket, POLLIN, 0}}};
    constexpr int kForEver = -1;
    while (poll(inputs.data(), inputs.size(), kForEver) >= 0 || errno == EINTR)
    {
        if (inputs[0].revents != 0)
        {
            return;
        }
        const int client = accept4(fSocket, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0)
        {
            continue;
        }
        if (IsWelcome(client))
        {
            HandleLines(ReadClient(client), inHandler);
        }
        close(client);
    }
}
