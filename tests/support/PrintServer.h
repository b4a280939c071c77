#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>

#include <sys/types.h>

#include <cups/cups.h>

#include "TemporaryFolder.h"

/// A CUPS scheduler of the test's own, all of it in one folder: the system's filters, the built filter beside them, and
/// a queue for each sample printer ("office", "manual", "wide", "veldra"), which writes each job to a file. Such a
/// queue with the prefix "slow-" takes the beginning of a job and no more until OpenGate.
class APrintServer
{
public:
    static constexpr std::chrono::seconds kLimit{100};

    /// Starts it; throws where that cannot be done. inEnvironment is what the filters get besides the usual.
    explicit APrintServer(const std::map<std::string, std::string>& inEnvironment = {});
    ~APrintServer();
    APrintServer(const APrintServer&) = delete;
    APrintServer& operator=(const APrintServer&) = delete;

    /// Ends it as a shutdown of the machine does, and starts it again with the jobs that it kept.
    void Restart();

    /// lp(1) to a queue, with arguments as in a shell. The job's number; 0 when it was not taken.
    [[nodiscard]] int Print(const std::string& inQueue, const std::string& inArguments) const;

    /// Any of CUPS's commands, sent to this server. False when it fails.
    bool Run(const std::string& inCommand) const;

    /// Waits until the job has ended, and says how; also the state that it has when the time is over.
    [[nodiscard]] ipp_jstate_t WaitForEnd(int inJob) const;

    /// False when the text did not come into the server's log in time.
    [[nodiscard]] bool WaitForLog(const std::string& inText) const;

    /// Lets the slow queues' jobs go on, this one and all further ones.
    void OpenGate() const;

    /// Where what the printer got of a job is once it has ended.
    [[nodiscard]] std::string GetPath(int inJob) const;
    [[nodiscard]] std::string GetLog() const;

    /// What the filters left in their folder for temporary files, a line each.
    [[nodiscard]] std::string GetLeftovers() const;

private:
    void MakeFolders() const;
    void MakeQueues() const;
    void Configure(const std::map<std::string, std::string>& inEnvironment) const;
    void Start();
    void Stop();
    [[nodiscard]] bool WaitFor(const std::function<bool()>& inIsReached) const;
    [[nodiscard]] http_t* Connect() const;
    [[nodiscard]] bool Answers() const;
    [[nodiscard]] ipp_jstate_t GetState(int inJob) const;
    [[nodiscard]] std::string GetCommand(const std::string& inCommand) const;

    ATemporaryFolder fFolder;
    pid_t fScheduler = -1;
};
