#include <array>
#include <stdexcept>
#include <thread>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include "DeviceModel/IPPDevice.h"
#include "FuzzSupport.h"

namespace
{

/// A port of this machine that nobody else listens at.
class AListener
{
public:
    AListener() : fSocket(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto* const generic = reinterpret_cast<sockaddr*>(&address);
        if (bind(fSocket, generic, size) != 0 || listen(fSocket, 1) != 0 || getsockname(fSocket, generic, &size) != 0)
        {
            throw std::runtime_error("no port");
        }
        fPort = ntohs(address.sin_port);
    }

    [[nodiscard]] int GetPort() const { return fPort; }

    /// Takes one request and answers it with these bytes.
    void AnswerOnce(std::string_view inAnswer) const
    {
        const int peer = accept4(fSocket, nullptr, nullptr, SOCK_CLOEXEC);
        std::array<char, 4096> request{};
        // Headers and message come in two writes.
        for (std::size_t size = 0; size < request.size() && !EndsRequest({request.data(), size});)
        {
            const ssize_t count = read(peer, request.data() + size, request.size() - size);
            if (count <= 0)
            {
                break;
            }
            size += static_cast<std::size_t>(count);
        }
        static_cast<void>(!send(peer, inAnswer.data(), inAnswer.size(), MSG_NOSIGNAL));
        close(peer);
    }

private:
    static bool EndsRequest(std::string_view inRequest)
    {
        return inRequest.ends_with('\x03') && inRequest.find("printer-state-reasons") != std::string_view::npos;
    }

    int fSocket;
    int fPort = 0;
};

std::string MakeAnswer(std::string_view inMessage)
{
    return "HTTP/1.1 200 OK\r\nContent-Type: application/ipp\r\nContent-Length: " + std::to_string(inMessage.size()) +
           "\r\n\r\n" + std::string(inMessage);
}

} // namespace

/// An IPP message as a device's answer; behind "HTTP/" all that the device sends.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* inData, std::size_t inSize)
{
    static const AListener listener;
    const std::string_view text = AsText(inData, inSize);
    const std::string answer = text.starts_with("HTTP/") ? std::string(text) : MakeAnswer(text);
    const std::jthread device([&] { listener.AnswerOnce(answer); });
    const auto asked = AIPPDevice::Create("ipp://127.0.0.1:" + std::to_string(listener.GetPort()) + "/ipp/print");
    for (const std::string& severity : asked->ReadReport({}).fAlertSeverities)
    {
        Require(GetAlertSeverity("x-" + severity) == severity || severity == "fatal" || severity == "canceling",
                "an alert is of a known severity");
    }
    return 0;
}
