#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "agent/AgentRequest.h"

/// The programs that the user lets run for a PPD action: the words of a command for each name. The queue and the job
/// follow them as two more.
using AActionCommands = std::map<std::string, std::vector<std::string>>;

/// Reads the commands from a file: {"actions":{"NAME":["PROGRAM","ARGUMENT",...],...}}. None when it is there and is
/// not of that form; empty when it is not there.
[[nodiscard]] std::optional<AActionCommands> ReadActionCommands(const std::string& inPath);

/// Does what the user's print jobs ask for, as far as it is harmless: shows web pages with xdg-open, and runs programs
/// that the user's own configuration names. Nothing goes through a shell, and nothing is waited for.
class APreviewAgent
{
public:
    explicit APreviewAgent(AActionCommands inCommands) : fCommands(std::move(inCommands)) {}

    /// One message. What is refused is told on standard error.
    void HandleMessage(std::string_view inLine) const;

private:
    void Handle(const AOpenURLRequest& inRequest) const;
    void Handle(const APPDActionRequest& inRequest) const;

    AActionCommands fCommands;
};
