#include <array>
#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "DeviceModel/IPPDevice.h"
#include "FuzzSupport.h"

namespace
{

/// A port of this machine that nobody else listens at.
struct AListener
{
    AListener()
    {
        auto* const generic = reinterpret_cast<sockaddr*>(&fAddress);
        socklen_t size = sizeof fAddress;
        Require(bind(fSocket, generic, size) == 0 && listen(fSocket, 1) == 0, "bind");
        Require(getsockname(fSocket, generic, &size) == 0, "getsockname");
    }

    /// Takes one request and answers it with these bytes.
    void AnswerOnce(std::string_view inAnswer) const
    {
        const int peer = accept4(fSocket, nullptr, nullptr, SOCK_CLOEXEC);
        static_cast<void>(!send(peer, inAnswer.data(), inAnswer.size(), MSG_NOSIGNAL));
        shutdown(peer, SHUT_WR);
        std::array<char, 4096> request{};
        while (read(peer, request.data(), request.size()) > 0)
        {
        }
        close(peer);
    }

    const int fSocket = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in fAddress = {AF_INET, 0, {htonl(INADDR_LOOPBACK)}, {}};
};

} // namespace

/// An IPP message as a device's answer; behind "HTTP/" all that the device sends.
void Fuzz(std::string_view inInput)
{
    static const AListener listener;
    const std::string text(inInput);
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Type: application/ipp\r\nContent-Length: ";
    const std::string answer =
        text.starts_with("HTTP/") ? text : head + std::to_string(text.size()) + "\r\n\r\n" + text;
    const std::jthread device([&] { listener.AnswerOnce(answer); });
    const std::string port = std::to_string(ntohs(listener.fAddress.sin_port));
    for (const std::string& severity :
         AIPPDevice::Create("ipp://127.0.0.1:" + port + "/ipp/print")->ReadReport({}).fAlertSeverities)
    {
        Require(GetAlertSeverity("x-" + severity) == severity || severity == "fatal" || severity == "canceling",
                "an alert is of a known severity");
    }
}
