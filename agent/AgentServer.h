#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <vector>

/// Listens on a Unix-domain stream socket and hands on the lines that come in. One client is served at a time, for two
/// seconds and 64 kilobytes at most.
class AAgentServer
{
public:
    using ALineHandler = std::function<void(std::string_view inLine)>;

    /// Only the given users may send anything. A client of another one is closed unheard.
    AAgentServer(std::string inPath, std::vector<uid_t> inUsers) : fPath(std::move(inPath)), fUsers(std::move(inUsers))
    {
    }
    AAgentServer(const AAgentServer&) = delete;
    AAgentServer& operator=(const AAgentServer&) = delete;

    /// Removes the socket when it is this server's.
    ~AAgentServer();

    /// Takes the place of a socket that nobody listens on any more. Returns why it cannot listen, or an empty text.
    [[nodiscard]] std::string Listen();

    /// Serves until inStopDescriptor has something to read.
    void Serve(int inStopDescriptor, const ALineHandler& inHandler) const;

private:
    [[nodiscard]] bool IsWelcome(int inClient) const;

    std::string fPath;
    std::vector<uid_t> fUsers;
    int fSocket = -1;
};

/// Makes the folder of a socket at its standard path: the user's own, which others may only pass through. Returns why
/// it cannot, or an empty text.
[[nodiscard]] std::string MakeSocketFolder(const std::string& inSocketPath);
