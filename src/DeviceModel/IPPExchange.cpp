#include "DeviceModel/IPPExchange.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <exception>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>
#include <utility>

#include <cups/http.h>
#include <cups/ipp.h>
#include <sys/socket.h>

namespace
{

using AClock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kCutTime(20); ///< between two cuts
constexpr int kCuts = 25;                         ///< that a thread has to notice
constexpr int kConnectTime = 60000;               ///< milliseconds; the asking side sets the real limit
constexpr std::size_t kLargestAnswer = 1048576;   ///< bytes; a real one has a few hundred

struct AHTTPCloser
{
    void operator()(http_t* inConnection) const { httpClose(inConnection); }
};
using AConnection = std::unique_ptr<http_t, AHTTPCloser>;

struct AIPPDeleter
{
    void operator()(ipp_t* inMessage) const { ippDelete(inMessage); }
};
using AIPPMessage = std::unique_ptr<ipp_t, AIPPDeleter>;

struct AAddressListFreer
{
    void operator()(http_addrlist_t* inList) const { httpAddrFreeList(inList); }
};
using AAddressList = std::unique_ptr<http_addrlist_t, AAddressListFreer>;

/// One request and its answer, shared by the thread that waits for it and the one that talks to the printer.
class AIPPExchange
{
public:
    explicit AIPPExchange(AIPPAddress inAddress) : fAddress(std::move(inAddress)) {}

    /// The talk, to its end. Nothing else does network input or output.
    void Run() noexcept;

    /// False when the talk goes on after the time, or after a stop.
    [[nodiscard]] bool WaitForEnd(const std::stop_token& inStop, AClock::time_point inUntil);

    /// Makes the talk end soon and without success.
    void Cancel();

    /// Once the talk has ended.
    [[nodiscard]] AIPPAnswer TakeAnswer() { return std::move(fAnswer); }

private:
    class AOpenConnection;

    [[nodiscard]] AIPPAnswer Talk();
    [[nodiscard]] AConnection MakeConnection();
    [[nodiscard]] bool Connect(http_t& ioConnection);
    [[nodiscard]] AIPPMessage MakeRequest() const;
    [[nodiscard]] bool Send(http_t& ioConnection) const;
    [[nodiscard]] AIPPMessage Receive(http_t& ioConnection);
    [[nodiscard]] bool IsCancelled() { return std::atomic_ref(fCancel).load() != 0; }
    static ssize_t ReadBytes(void* ioExchange, ipp_uchar_t* outBytes, std::size_t inSize);

    AIPPAddress fAddress;
    AIPPAnswer fAnswer;

    std::mutex fMutex;
    std::condition_variable_any fEnd;
    bool fHasEnded = false;
    http_t* fConnection = nullptr; ///< while it may be cut from outside
    int fCancel = 0;               ///< an int, as libcups looks at it while it connects

    std::size_t fReceived = 0; ///< bytes of the answer
};

/// Lets Cancel cut the connection for as long as it may be open, and not the next file that gets its descriptor.
class AIPPExchange::AOpenConnection
{
public:
    AOpenConnection(AIPPExchange& ioExchange, http_t& inConnection) : fExchange(ioExchange) { Publish(&inConnection); }
    ~AOpenConnection() { Publish(nullptr); }
    AOpenConnection(const AOpenConnection&) = delete;
    AOpenConnection& operator=(const AOpenConnection&) = delete;

private:
    void Publish(http_t* inConnection)
    {
        const std::scoped_lock lock(fExchange.fMutex);
        fExchange.fConnection = inConnection;
    }

    AIPPExchange& fExchange;
};

void AIPPExchange::Run() noexcept
{
    try
    {
        fAnswer = Talk();
    }
    catch (const std::exception& exception)
    {
        fAnswer = {};
        fAnswer.fError = exception.what();
    }
    const std::scoped_lock lock(fMutex);
    fHasEnded = true;
    fEnd.notify_all();
}

bool AIPPExchange::WaitForEnd(const std::stop_token& inStop, AClock::time_point inUntil)
{
    std::unique_lock lock(fMutex);
    return fEnd.wait_until(lock, inStop, inUntil, [this] { return fHasEnded; });
}

void AIPPExchange::Cancel()
{
    const std::scoped_lock lock(fMutex);
    std::atomic_ref(fCancel).store(1);
    if (fConnection != nullptr && httpGetFd(fConnection) >= 0)
    {
        shutdown(httpGetFd(fConnection), SHUT_RDWR);
    }
}

AIPPAnswer Fail(std::string inReason)
{
    AIPPAnswer answer;
    answer.fError = std::move(inReason);
    return answer;
}

AIPPAnswer ReadAnswer(ipp_t& inMessage)
{
    // A number, as a device may send one that the enumeration does not have.
    const int status = ippGetStatusCode(&inMessage);
    if (status < IPP_STATUS_OK || status >= IPP_STATUS_REDIRECTION_OTHER_SITE)
    {
        return Fail("The device refuses to answer, with IPP status " + std::to_string(status) + ".");
    }
    AIPPAnswer answer;
    answer.fIsValid = true;
    if (ipp_attribute_t* const state = ippFindAttribute(&inMessage, "printer-state", IPP_TAG_ENUM))
    {
        answer.fState = ippGetInteger(state, 0);
    }
    ipp_attribute_t* const reasons = ippFindAttribute(&inMessage, "printer-state-reasons", IPP_TAG_KEYWORD);
    for (int i = 0; reasons != nullptr && i < ippGetCount(reasons); ++i)
    {
        answer.fStateReasons.emplace_back(ippGetString(reasons, i, nullptr));
    }
    return answer;
}

AIPPAnswer AIPPExchange::Talk()
{
    const AConnection connection = MakeConnection();
    if (connection == nullptr)
    {
        return Fail("The device's host is not known.");
    }
    const AOpenConnection open(*this, *connection);
    if (!Connect(*connection))
    {
        return Fail("The device cannot be reached.");
    }
    if (!Send(*connection))
    {
        return Fail("The device does not take the request.");
    }
    const AIPPMessage message = Receive(*connection);
    return message != nullptr ? ReadAnswer(*message) : Fail("The device does not answer over IPP.");
}

/// Looks the host up, and connects to nobody yet.
AConnection AIPPExchange::MakeConnection()
{
    const AAddressList addresses(
        httpAddrGetList(fAddress.fHost.c_str(), AF_UNSPEC, std::to_string(fAddress.fPort).c_str()));
    if (addresses == nullptr || IsCancelled())
    {
        return nullptr;
    }
    const http_encryption_t encryption = fAddress.fIsSecure ? HTTP_ENCRYPTION_ALWAYS : HTTP_ENCRYPTION_IF_REQUESTED;
    constexpr int kBlocking = 1;
    constexpr int kNotYet = 0;
    return AConnection(httpConnect2(fAddress.fHost.c_str(), fAddress.fPort, addresses.get(), AF_UNSPEC, encryption,
                                    kBlocking, kNotYet, nullptr));
}

bool AIPPExchange::Connect(http_t& ioConnection)
{
    return httpReconnect2(&ioConnection, kConnectTime, &fCancel) == 0 && !IsCancelled();
}

AIPPMessage AIPPExchange::MakeRequest() const
{
    static constexpr std::array<const char*, 2> kAttributes = {"printer-state", "printer-state-reasons"};
    AIPPMessage request(ippNew());
    // Every printer knows version 1.1; not every one refuses a newer one politely.
    ippSetVersion(request.get(), 1, 1);
    ippSetOperation(request.get(), IPP_OP_GET_PRINTER_ATTRIBUTES);
    ippSetRequestId(request.get(), 1);
    ippAddString(request.get(), IPP_TAG_OPERATION, IPP_TAG_CHARSET, "attributes-charset", nullptr, "utf-8");
    ippAddString(request.get(), IPP_TAG_OPERATION, IPP_TAG_LANGUAGE, "attributes-natural-language", nullptr, "en");
    ippAddString(request.get(), IPP_TAG_OPERATION, IPP_TAG_URI, "printer-uri", nullptr, fAddress.fURI.c_str());
    ippAddStrings(request.get(), IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes",
                  static_cast<int>(kAttributes.size()), nullptr, kAttributes.data());
    return request;
}

bool AIPPExchange::Send(http_t& ioConnection) const
{
    const AIPPMessage request = MakeRequest();
    httpClearFields(&ioConnection);
    httpSetField(&ioConnection, HTTP_FIELD_CONTENT_TYPE, "application/ipp");
    httpSetLength(&ioConnection, ippLength(request.get()));
    return httpPost(&ioConnection, fAddress.fResource.c_str()) == 0 &&
           ippWrite(&ioConnection, request.get()) == IPP_STATE_DATA;
}

AIPPMessage AIPPExchange::Receive(http_t& ioConnection)
{
    int status = HTTP_STATUS_CONTINUE; // a number, as in ReadAnswer
    while (status == HTTP_STATUS_CONTINUE && !IsCancelled())
    {
        status = httpUpdate(&ioConnection);
    }
    AIPPMessage answer(ippNew());
    constexpr int kBlocking = 1;
    const bool isWhole =
        status == HTTP_STATUS_OK && ippReadIO(this, ReadBytes, kBlocking, nullptr, answer.get()) == IPP_STATE_DATA;
    return isWhole ? std::move(answer) : nullptr;
}

/// All that was asked for, as the parser wants it, or an error. A device that never ends its answer shall not fill the
/// memory.
ssize_t AIPPExchange::ReadBytes(void* ioExchange, ipp_uchar_t* outBytes, std::size_t inSize)
{
    AIPPExchange& exchange = *static_cast<AIPPExchange*>(ioExchange);
    exchange.fReceived += inSize;
    if (exchange.fReceived > kLargestAnswer)
    {
        return -1;
    }
    for (std::size_t done = 0; done < inSize;)
    {
        const ssize_t size = httpRead2(exchange.fConnection, reinterpret_cast<char*>(outBytes) + done, inSize - done);
        if (size <= 0 || exchange.IsCancelled())
        {
            return -1;
        }
        done += static_cast<std::size_t>(size);
    }
    return static_cast<ssize_t>(inSize);
}

} // namespace

AIPPAnswer AskPrinter(const AIPPAddress& inAddress, std::chrono::milliseconds inTimeLimit,
                      const std::stop_token& inStop)
try
{
    const auto exchange = std::make_shared<AIPPExchange>(inAddress);
    std::thread talker([exchange] { exchange->Run(); });
    if (exchange->WaitForEnd(inStop, AClock::now() + inTimeLimit))
    {
        talker.join();
        return exchange->TakeAnswer();
    }
    // A connection may be just about to open: more than one cut.
    bool hasEnded = false;
    for (int i = 0; i < kCuts && !hasEnded; ++i)
    {
        exchange->Cancel();
        hasEnded = exchange->WaitForEnd({}, AClock::now() + kCutTime);
    }
    hasEnded ? talker.join() : talker.detach();
    return Fail("The device does not answer in time.");
}
catch (const std::system_error& error)
{
    return Fail(error.what());
}
