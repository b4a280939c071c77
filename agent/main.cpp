#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <pwd.h>
#include <string>
#include <string_view>
#include <sys/signalfd.h>
#include <unistd.h>

#include "Imaging/PreviewAgentSocket.h"
#include "agent/AgentServer.h"
#include "agent/PreviewAgent.h"

namespace
{

constexpr const char* kUsage = "vxpreviewagent [--config FILE] [--filter-user NAME]\n";

struct AAgentOptions
{
    std::string fConfiguration;
    std::string fFilterUser = "lp"; ///< whom the print system runs its filters as
};

int Fail(const std::string& inReason)
{
    std::fprintf(stderr, "vxpreviewagent: %s\n", inReason.c_str());
    return EXIT_FAILURE;
}

/// XDG Base Directory Specification: $XDG_CONFIG_HOME, else ~/.config.
std::string GetDefaultConfiguration()
{
    const char* const folder = std::getenv("XDG_CONFIG_HOME");
    const char* const home = std::getenv("HOME");
    const std::string base = folder != nullptr && *folder == '/'
                                 ? std::string(folder)
                                 : std::string(home != nullptr ? home : "") + "/.config";
    return base + "/vxpreviewagent/actions.json";
}

/// None for arguments that are not understood.
std::optional<AAgentOptions> ReadArguments(int inCount, char** inArguments)
{
    AAgentOptions options{GetDefaultConfiguration()};
    for (int i = 1; i < inCount; i += 2)
    {
        const std::string_view name = inArguments[i];
        if (i + 1 == inCount || (name != "--config" && name != "--filter-user"))
        {
            return std::nullopt;
        }
        (name == "--config" ? options.fConfiguration : options.fFilterUser) = inArguments[i + 1];
    }
    return options;
}

/// Readable once the agent is asked to end.
int OpenStopDescriptor()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC);
}

std::vector<uid_t> FindWelcomeUsers(const std::string& inFilterUser)
{
    std::vector<uid_t> users = {0, geteuid()};
    if (const passwd* const filterUser = getpwnam(inFilterUser.c_str()))
    {
        users.push_back(filterUser->pw_uid);
    }
    return users;
}

std::string GetUserName()
{
    const passwd* const user = getpwuid(geteuid());
    return user != nullptr ? user->pw_name : "";
}

} // namespace

int main(int argc, char** argv)
{
    const auto options = ReadArguments(argc, argv);
    if (!options)
    {
        std::fputs(kUsage, stderr);
        return EXIT_FAILURE;
    }
    auto commands = ReadActionCommands(options->fConfiguration);
    if (!commands)
    {
        return EXIT_FAILURE;
    }
    const std::string path = GetPreviewAgentSocketPath(GetUserName());
    if (path.empty())
    {
        return Fail("no path for the socket");
    }
    if (const std::string why = IsPreviewAgentSocketSet() ? "" : MakeSocketFolder(path); !why.empty())
    {
        return Fail(why);
    }
    // Nobody waits for what the agent starts.
    std::signal(SIGCHLD, SIG_IGN);
    const int stop = OpenStopDescriptor();
    AAgentServer server(path, FindWelcomeUsers(options->fFilterUser));
    if (const std::string why = server.Listen(); !why.empty())
    {
        return Fail(why);
    }
    const APreviewAgent agent(*std::move(commands));
    server.Serve(stop, [&agent](std::string_view inLine) { agent.HandleMessage(inLine); });
    return EXIT_SUCCESS;
}
