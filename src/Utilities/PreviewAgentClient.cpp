#include "Utilities/PreviewAgentClient.h"

#include <cerrno>
#include <chrono>
#include <cstring>

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include "Imaging/HostFacts.h"
#include "Imaging/Logger.h"
#include "Imaging/PreviewAgentSocket.h"

namespace
{

using AClock = std::chrono::steady_clock;

constexpr std::chrono::seconds kTimeInAll(2);

/// A connection that gives up at a set time.
class AAgentConnection
{
public:
    explicit AAgentConnection(AClock::time_point inEnd)
        : fSocket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)), fEnd(inEnd)
    {
    }
    ~AAgentConnection()
    {
        if (fSocket >= 0)
        {
            close(fSocket);
        }
    }
    AAgentConnection(const AAgentConnection&) = delete;
    AAgentConnection& operator=(const AAgentConnection&) = delete;

    [[nodiscard]] bool Connect(const std::string& inPath) const
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        inPath.copy(address.sun_path, sizeof(address.sun_path) - 1);
        return LimitTime() && connect(fSocket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0;
    }

    [[nodiscard]] bool IsPeerTrusted(const std::string& inUser) const
    {
        ucred peer{};
        socklen_t size = sizeof(peer);
        return getsockopt(fSocket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 &&
               (peer.uid == 0 || peer.uid == geteuid() || peer.uid == FindUserID(inUser));
    }

    [[nodiscard]] bool Send(std::string_view inMessage) const
    {
        while (!inMessage.empty())
        {
            const ssize_t sent = LimitTime() ? send(fSocket, inMessage.data(), inMessage.size(), MSG_NOSIGNAL) : -1;
            if (sent < 0)
            {
                return false;
            }
            inMessage.remove_prefix(static_cast<std::size_t>(sent));
        }
        return true;
    }

private:
    /// Limits what follows to the time that is left.
    [[nodiscard]] bool LimitTime() const
    {
        const auto left = std::chrono::duration_cast<std::chrono::microseconds>(fEnd - AClock::now()).count();
        constexpr long kMicroseconds = 1000000;
        const timeval limit{left / kMicroseconds, left % kMicroseconds};
        return left > 0 && setsockopt(fSocket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof(limit)) == 0;
    }

    int fSocket;
    AClock::time_point fEnd;
};

bool IsSent(const std::string& inPath, const std::string& inUser, std::string_view inMessage)
{
    const AAgentConnection connection(AClock::now() + kTimeInAll);
    if (!connection.Connect(inPath))
    {
        return false;
    }
    if (!IsPreviewAgentSocketSet() && !connection.IsPeerTrusted(inUser))
    {
        errno = EPERM;
        return false;
    }
    return connection.Send(inMessage);
}

} // namespace

void SendToPreviewAgent(const std::string& inUser, std::string_view inMessage)
{
    const std::string path = GetPreviewAgentSocketPath(inUser);
    if (!path.empty() && !IsSent(path, inUser, inMessage))
    {
        LoggerLogMessage(kLogTrace, "The preview agent was not reached: %s", std::strerror(errno));
    }
}
