#include "agent/PreviewAgent.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <nlohmann/json.hpp>
#include <spawn.h>
#include <unistd.h>

namespace
{

void Refuse(const char* inWhat)
{
    std::fprintf(stderr, "vxpreviewagent: %s\n", inWhat);
}

/// What a child starts with: no input, and none of the agent's own signal handling.
class AChildSetting
{
public:
    AChildSetting()
    {
        sigset_t none;
        sigset_t usual;
        sigemptyset(&none);
        sigemptyset(&usual);
        sigaddset(&usual, SIGCHLD);
        sigaddset(&usual, SIGPIPE);
        posix_spawn_file_actions_init(&fFiles);
        posix_spawn_file_actions_addopen(&fFiles, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawnattr_init(&fAttributes);
        posix_spawnattr_setsigmask(&fAttributes, &none);
        posix_spawnattr_setsigdefault(&fAttributes, &usual);
        posix_spawnattr_setflags(&fAttributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~AChildSetting()
    {
        posix_spawn_file_actions_destroy(&fFiles);
        posix_spawnattr_destroy(&fAttributes);
    }
    AChildSetting(const AChildSetting&) = delete;
    AChildSetting& operator=(const AChildSetting&) = delete;

    posix_spawn_file_actions_t fFiles{};
    posix_spawnattr_t fAttributes{};
};

/// inWords holds at least the program, which is sought on PATH.
void Start(std::vector<std::string> inWords)
{
    std::vector<char*> arguments;
    arguments.reserve(inWords.size() + 1);
    for (std::string& word : inWords)
    {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    const AChildSetting setting;
    pid_t child = 0;
    const int error =
        posix_spawnp(&child, arguments.front(), &setting.fFiles, &setting.fAttributes, arguments.data(), environ);
    if (error != 0)
    {
        Refuse((inWords.front() + ": " + std::strerror(error)).c_str());
    }
}

} // namespace

std::optional<AActionCommands> ReadActionCommands(const std::string& inPath)
try
{
    std::ifstream file(inPath);
    if (!file)
    {
        return AActionCommands();
    }
    AActionCommands commands = nlohmann::json::parse(file).at("actions").get<AActionCommands>();
    std::erase_if(commands, [](const auto& inCommand) { return inCommand.second.empty(); });
    return commands;
}
catch (const nlohmann::json::exception& exception)
{
    Refuse((inPath + ": " + exception.what()).c_str());
    return std::nullopt;
}

void APreviewAgent::HandleMessage(std::string_view inLine) const
{
    if (const auto request = ReadAgentRequest(inLine))
    {
        std::visit([this](const auto& inRequest) { Handle(inRequest); }, *request);
    }
    else
    {
        Refuse("not a message");
    }
}

void APreviewAgent::Handle(const AOpenURLRequest& inRequest) const
{
    if (IsWebURL(inRequest.fURL))
    {
        Start({"xdg-open", inRequest.fURL});
    }
    else
    {
        Refuse("not a web page");
    }
}

void APreviewAgent::Handle(const APPDActionRequest& inRequest) const
{
    const auto found = fCommands.find(inRequest.fAction);
    if (found == fCommands.end())
    {
        Refuse("not an action of the configuration");
        return;
    }
    std::vector<std::string> words = found->second;
    words.push_back(inRequest.fQueue);
    words.push_back(inRequest.fJobIdentifier);
    Start(std::move(words));
}
