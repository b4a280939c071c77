#include "IPPPrinter.h"

#include <array>
#include <stdexcept>

#include <arpa/inet.h>
#include <cups/cups.h>
#include <cups/http.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace
{

constexpr int kTick = 10; ///< milliseconds between looks at the stop token

bool IsReadable(int inSocket)
{
    pollfd input{inSocket, POLLIN, 0};
    return poll(&input, 1, kTick) > 0;
}

bool IsClosedByPeer(int inSocket)
{
    char byte = 0;
    return IsReadable(inSocket) && recv(inSocket, &byte, 1, MSG_DONTWAIT) <= 0;
}

} // namespace

AIPPPrinter::AIPPPrinter() : fListener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto* const anyAddress = reinterpret_cast<sockaddr*>(&address);
    if (bind(fListener, anyAddress, size) != 0 || listen(fListener, 16) != 0 ||
        getsockname(fListener, anyAddress, &size) != 0)
    {
        throw std::runtime_error("no port for a printer");
    }
    fPort = ntohs(address.sin_port);
    fThread = std::jthread([this](const std::stop_token& inEnd) { Serve(inEnd); });
}

AIPPPrinter::~AIPPPrinter()
{
    fThread.request_stop();
    fThread.join();
    close(fListener);
}

std::string AIPPPrinter::GetURI(const std::string& inScheme) const
{
    return inScheme + "://127.0.0.1:" + std::to_string(fPort) + "/ipp/print";
}

void AIPPPrinter::SetState(int inState, std::vector<std::string> inReasons)
{
    const std::scoped_lock lock(fMutex);
    fState = inState;
    fReasons = std::move(inReasons);
    fMisbehaviour = nullptr;
}

void AIPPPrinter::Misbehave(AMisbehaviour inMisbehaviour)
{
    const std::scoped_lock lock(fMutex);
    fMisbehaviour = std::move(inMisbehaviour);
}

bool AIPPPrinter::WaitForConnections(int inCount)
{
    std::unique_lock lock(fMutex);
    return fConnected.wait_for(lock, std::chrono::seconds(10), [&] { return fConnections >= inCount; });
}

std::string AIPPPrinter::GetAskedURI()
{
    const std::scoped_lock lock(fMutex);
    return fAskedURI;
}

void AIPPPrinter::Hang(int inSocket, const std::stop_token& inEnd)
{
    while (!inEnd.stop_requested() && !IsClosedByPeer(inSocket))
    {
    }
}

void AIPPPrinter::Drip(int inSocket, const std::stop_token& inEnd)
{
    while (!inEnd.stop_requested() && send(inSocket, "H", 1, MSG_NOSIGNAL) == 1)
    {
        static_cast<void>(IsClosedByPeer(inSocket));
    }
}

AIPPPrinter::AMisbehaviour AIPPPrinter::Say(const std::string& inBytes)
{
    return [inBytes](int inSocket, const std::stop_token&)
    {
        // The whole request first: closing with something unread would take back what was sent.
        std::array<char, 4096> bytes{};
        while (IsReadable(inSocket) && recv(inSocket, bytes.data(), bytes.size(), 0) > 0)
        {
        }
        send(inSocket, inBytes.data(), inBytes.size(), MSG_NOSIGNAL);
    };
}

void AIPPPrinter::Serve(const std::stop_token& inEnd)
{
    while (!inEnd.stop_requested())
    {
        if (!IsReadable(fListener))
        {
            continue;
        }
        std::unique_lock lock(fMutex);
        const AMisbehaviour misbehaviour = fMisbehaviour;
        ++fConnections;
        fConnected.notify_all();
        lock.unlock();
        if (misbehaviour)
        {
            const int client = accept(fListener, nullptr, nullptr);
            misbehaviour(client, inEnd);
            close(client);
        }
        else
        {
            Answer();
        }
    }
}

void AIPPPrinter::Answer()
{
    http_t* const http = httpAcceptConnection(fListener, 1);
    if (http == nullptr)
    {
        return;
    }
    httpSetTimeout(
        http, 1, [](http_t*, void*) { return 0; }, nullptr);
    std::array<char, 1024> resource{};
    ipp_t* const request = ippNew();
    if (httpReadRequest(http, resource.data(), resource.size()) == HTTP_STATE_POST)
    {
        while (httpUpdate(http) == HTTP_STATUS_CONTINUE)
        {
        }
        if (ippRead(http, request) == IPP_STATE_DATA)
        {
            ipp_t* const response = MakeResponse(request);
            httpClearFields(http);
            httpSetField(http, HTTP_FIELD_CONTENT_TYPE, "application/ipp");
            httpSetLength(http, ippLength(response));
            httpWriteResponse(http, HTTP_STATUS_OK);
            ippWrite(http, response);
            httpFlushWrite(http);
            ippDelete(response);
        }
    }
    ippDelete(request);
    httpClose(http);
}

ipp_t* AIPPPrinter::MakeResponse(ipp_t* inRequest)
{
    ipp_t* const response = ippNewResponse(inRequest);
    const char* const uri = ippGetString(ippFindAttribute(inRequest, "printer-uri", IPP_TAG_URI), 0, nullptr);
    const std::scoped_lock lock(fMutex);
    fAskedURI = uri != nullptr ? uri : "";
    std::vector<const char*> reasons;
    for (const std::string& reason : fReasons)
    {
        reasons.push_back(reason.c_str());
    }
    ippAddInteger(response, IPP_TAG_PRINTER, IPP_TAG_ENUM, "printer-state", fState);
    ippAddStrings(response, IPP_TAG_PRINTER, IPP_TAG_KEYWORD, "printer-state-reasons", static_cast<int>(reasons.size()),
                  nullptr, reasons.data());
    return response;
}
