#pragma once

#include <string>
#include <string_view>

/// Sends a message to a user's preview agent: connects, sends and closes within two seconds in all.
///
/// No agent, one that refuses, and one that does not take the message are not errors. Nothing is sent to an agent that
/// somebody else runs in the user's place: at the standard path it must be the user's, root's or this process's own.
void SendToPreviewAgent(const std::string& inUser, std::string_view inMessage);
