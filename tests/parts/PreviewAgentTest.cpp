#include "RunningFilter.h"
#include "TestSupport.h"

#include <chrono>
#include <csignal>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

using AClock = std::chrono::steady_clock;

constexpr const char* kOpenMessage = R"({"method":"openServiceURL","params":["http://10.0.0.7"]})";

int ConnectOrBind(const std::string& inPath, bool inBinds)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    inPath.copy(address.sun_path, sizeof(address.sun_path) - 1);
    const int newSocket = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const auto* const anyAddress = reinterpret_cast<const sockaddr*>(&address);
    const int result =
        inBinds ? bind(newSocket, anyAddress, sizeof(address)) : connect(newSocket, anyAddress, sizeof(address));
    if (result != 0)
    {
        close(newSocket);
        return -1;
    }
    return newSocket;
}

/// A job that is held at the printer, and the place of the agent's socket.
class PreviewAgentTest : public testing::Test
{
protected:
    [[nodiscard]] std::string GetSocket() const { return fFolder.GetPath("socket"); }

    [[nodiscard]] AFilterResult RunHeldJob(const std::string& inOptions, const std::string& inPPD = "") const
    {
        return RunFilter({.fOptions = "VXHoldJob=True " + inOptions,
                          .fJob = MakeJob(1),
                          .fPPD = MakePPD("*VXHoldJob: \"1\"\n" + inPPD),
                          .fEnvironment = {{"VX_PREVIEW_AGENT_SOCKET", GetSocket()}}});
    }

    /// What the filter sends when somebody listens; empty for nothing.
    [[nodiscard]] std::string GetMessage(const std::string& inOptions, const std::string& inPPD = "")
    {
        const int listener = ConnectOrBind(GetSocket(), true);
        const timeval soon{0, 10000};
        setsockopt(listener, SOL_SOCKET, SO_RCVTIMEO, &soon, sizeof(soon));
        listen(listener, 1);
        EXPECT_EQ(RunHeldJob(inOptions, inPPD).fStatus, 0);
        std::string text(4096, '\0');
        const int client = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        const ssize_t size = client < 0 ? 0 : recv(client, text.data(), text.size(), MSG_DONTWAIT);
        close(client);
        close(listener);
        unlink(GetSocket().c_str());
        return text.substr(0, size > 0 ? static_cast<std::size_t>(size) : 0);
    }

    ATemporaryFolder fFolder;
};

/// A running agent, with a stand-in for xdg-open that writes down what it is to open.
class AgentTest : public PreviewAgentTest
{
protected:
    void SetUp() override
    {
        const std::string record = "#!/bin/sh\necho \"${0##*/} $*\" >> '" + GetRecordPath() + "'\n";
        for (const char* name : {"bin/xdg-open", "bin/viewer"})
        {
            std::filesystem::permissions(fFolder.Write(name, record), std::filesystem::perms::owner_all);
        }
        fFolder.Write("config/vxpreviewagent/actions.json", R"({"actions":{"showHeldJob":["viewer","--held"]}})");
        fAgent = LaunchAgent();
        ASSERT_TRUE(WaitUntil([this] { return std::filesystem::exists(GetSocket()); }));
    }
    void TearDown() override
    {
        fAgent->Signal(SIGTERM);
        EXPECT_EQ(fAgent->Wait(), 0);
    }

    [[nodiscard]] std::unique_ptr<ALaunchedFilter> LaunchAgent() const
    {
        ALaunch launch;
        launch.fProgram = VX_AGENT_PATH;
        launch.fEnvironment = {{"PATH", fFolder.GetPath("bin") + ":/usr/bin:/bin"},
                               {"XDG_CONFIG_HOME", fFolder.GetPath("config")},
                               {"VX_PREVIEW_AGENT_SOCKET", GetSocket()}};
        launch.fOutput = launch.fErrors = STDERR_FILENO;
        return std::make_unique<ALaunchedFilter>(launch);
    }

    void Send(const std::string& inText) const
    {
        const int client = ConnectOrBind(GetSocket(), false);
        ASSERT_GE(client, 0);
        EXPECT_EQ(send(client, inText.data(), inText.size(), MSG_NOSIGNAL), static_cast<ssize_t>(inText.size()));
        close(client);
    }

    [[nodiscard]] std::string GetRecordPath() const { return fFolder.GetPath("record"); }

    [[nodiscard]] std::string GetRecord() const { return ReadFile(GetRecordPath()); }

    [[nodiscard]] bool WaitForRecord(const std::string& inText) const
    {
        return WaitUntil([&] { return GetRecord().find(inText) != std::string::npos; });
    }

    std::unique_ptr<ALaunchedFilter> fAgent;
};

TEST_F(PreviewAgentTest, MessageFollowsTheJob)
{
    const std::string action = "*VXHoldJobAction True: \"show\"\n";
    const std::string page =
        R"({"method":"openServiceURL","params":["http://10.0.0.7/vx/device/webAccess/preview.htm?ID=a b"]})";
    EXPECT_EQ(GetMessage("VXDeviceIP=10.0.0.7"), std::string(kOpenMessage) + "\n");
    EXPECT_EQ(GetMessage("VXDeviceIP=10.0.0.7 VXUUID=a%20b VXJobAccounting=None"), page + "\n");
    EXPECT_EQ(GetMessage("VXDeviceIP=10.0.0.7 VXUUID=a%20b", "*VXJobAccounting: \"1\"\n"), page + "\n");
    EXPECT_EQ(GetMessage("VXUUID=j%22%FF VXDeviceIP=10.0.0.7", action),
              "{\"method\":\"performPPDAction\",\"params\":[\"show\",[\"vxpostprocessing\",\"j\\\"\xEF\xBF\xBD\"]]}\n");
    EXPECT_EQ(GetMessage("VXDeviceIP=10.0.0.7", action), "") << "an action needs the job";
    EXPECT_EQ(GetMessage(""), "");
    EXPECT_EQ(GetMessage("VXDeviceIP=10.0.0.7 VXJobAccounting=None"), "") << "a job's page needs the job";
    EXPECT_EQ(GetMessage("VXDeviceIP=10.0.0.7 VXHoldJob=False"), "");
}

TEST_F(PreviewAgentTest, NoAgentIsNoError)
{
    EXPECT_EQ(RunHeldJob("VXDeviceIP=10.0.0.7").fStatus, 0) << "none";
    close(ConnectOrBind(GetSocket(), true));
    EXPECT_EQ(RunHeldJob("VXDeviceIP=10.0.0.7").fStatus, 0) << "dead";
}

TEST_F(PreviewAgentTest, AStuckAgentIsGivenUp)
{
    const int listener = ConnectOrBind(GetSocket(), true);
    listen(listener, 0);
    const int waiting = ConnectOrBind(GetSocket(), false);
    const auto start = AClock::now();
    EXPECT_EQ(RunHeldJob("VXDeviceIP=10.0.0.7").fStatus, 0) << "its queue is full";
    EXPECT_LT(AClock::now() - start, std::chrono::milliseconds(2500));
    close(waiting);
    close(accept(listener, nullptr, nullptr));
    const std::string large(100000, 'x');
    EXPECT_EQ(RunHeldJob("VXDeviceIP=" + large).fStatus, 0) << "it does not read";
    close(listener);
}

TEST_F(AgentTest, ShowsThePageOfAHeldJob)
{
    EXPECT_EQ(RunHeldJob("VXDeviceIP=10.0.0.7 VXUUID=j1 VXJobAccounting=None").fStatus, 0);
    EXPECT_TRUE(WaitForRecord("xdg-open http://10.0.0.7/vx/device/webAccess/preview.htm?ID=j1\n"));
    EXPECT_EQ(RunHeldJob("VXUUID=j2", "*VXHoldJobAction True: \"showHeldJob\"\n").fStatus, 0);
    EXPECT_TRUE(WaitForRecord("viewer --held vxpostprocessing j2\n"));
}

TEST_F(AgentTest, DoesNothingElse)
{
    for (const char* url : {"file:///etc/passwd", "javascript:alert(1)", "--help", "http:///x", "http://a b", "ftp://a",
                            "http://a\\nhttp://b", "HTTPX://a", ""})
    {
        Send(std::string(R"({"method":"openServiceURL","params":[")") + url + "\"]}\n");
    }
    for (const char* text : {"", "{", "null\n", "[]\n", "{\"method\":1,\"params\":2}\n",
                             "{\"method\":\"openServiceURL\"}\n", "{\"method\":\"openServiceURL\",\"params\":[1]}\n",
                             "{\"method\":\"launchTool\",\"params\":[\"viewer\",[]]}\n",
                             R"({"method":"performPPDAction","params":["viewer",["q","j"]]})"
                             "\n",
                             R"({"method":"performPPDAction","params":["showHeldJob",["q"]]})"
                             "\n",
                             kOpenMessage})
    {
        Send(text);
    }
    Send(std::string(200000, '[') + "\n");
    Send(std::string(kOpenMessage) + "\n" + R"({"method":"openServiceURL","params":["HTTPS://last/"]})" + "\n");
    EXPECT_TRUE(WaitForRecord("HTTPS://last/\n"));
    EXPECT_EQ(GetRecord().size(), std::string("xdg-open http://10.0.0.7\nxdg-open HTTPS://last/\n").size());
}

TEST_F(AgentTest, ASilentClientHoldsItUpForTwoSecondsOnly)
{
    const int silent = ConnectOrBind(GetSocket(), false);
    Send(std::string(kOpenMessage) + "\n");
    EXPECT_TRUE(WaitForRecord("xdg-open http://10.0.0.7\n"));
    close(silent);
}

TEST_F(AgentTest, ASecondAgentLeavesTheFirstItsSocket)
{
    EXPECT_EQ(LaunchAgent()->Wait(), 1);
    Send(std::string(kOpenMessage) + "\n");
    EXPECT_TRUE(WaitForRecord("xdg-open http://10.0.0.7\n"));
    fAgent.reset();
    fAgent = LaunchAgent();
    ASSERT_TRUE(WaitUntil(
        [this]
        {
            const int s = ConnectOrBind(GetSocket(), false);
            close(s);
            return s >= 0;
        }))
        << "takes the place of a dead one";
}

} // namespace
