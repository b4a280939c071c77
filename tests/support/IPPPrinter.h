#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <cups/ipp.h>

/// A small IPP printer on 127.0.0.1 that says what the test wants, or misbehaves.
class AIPPPrinter
{
public:
    /// What the printer does with a connection instead of answering as a printer should. The socket is closed after it.
    using AMisbehaviour = std::function<void(int inSocket, std::stop_token inEnd)>;

    AIPPPrinter();
    ~AIPPPrinter();
    AIPPPrinter(const AIPPPrinter&) = delete;
    AIPPPrinter& operator=(const AIPPPrinter&) = delete;

    [[nodiscard]] std::string GetURI(const std::string& inScheme = "ipp") const;

    /// printer-state and printer-state-reasons of all further answers.
    void SetState(int inState, std::vector<std::string> inReasons = {"none"});
    void Misbehave(AMisbehaviour inMisbehaviour);

    /// False when that many connections did not come within ten seconds.
    [[nodiscard]] bool WaitForConnections(int inCount);

    /// The last request's printer-uri.
    [[nodiscard]] std::string GetAskedURI();

    // Misbehaviours.
    static void Hang(int inSocket, const std::stop_token& inEnd);
    static void Drip(int inSocket, const std::stop_token& inEnd);
    static AMisbehaviour Say(const std::string& inBytes);

private:
    void Serve(const std::stop_token& inEnd);
    void Answer();
    [[nodiscard]] ipp_t* MakeResponse(ipp_t* inRequest);

    int fListener = -1;
    int fPort = 0;
    std::mutex fMutex;
    std::condition_variable fConnected;
    int fConnections = 0;
    int fState = 3;
    std::vector<std::string> fReasons = {"none"};
    std::string fAskedURI;
    AMisbehaviour fMisbehaviour;
    std::jthread fThread;
};
