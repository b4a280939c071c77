#include "PrintServer.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <stdexcept>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Launch.h"

namespace fs = std::filesystem;

namespace
{

constexpr const char* kSystemPrograms = "/usr/lib/cups";
constexpr std::array kPrinters = {"office", "manual", "wide", "veldra"};

/// Everybody may do everything here: only this machine's root and the server's own users reach its socket's folder.
constexpr const char* kScheduler = "Listen FOLDER/socket\n"
                                   "LogLevel debug\n"
                                   "MaxLogSize 0\n"
                                   "Browsing No\n"
                                   "DefaultAuthType None\n"
                                   "MaxJobTime 0\n"
                                   "<Location />\nOrder allow,deny\nAllow all\n</Location>\n"
                                   "<Policy default>\nJobPrivateAccess default\nJobPrivateValues default\n"
                                   "SubscriptionPrivateAccess default\nSubscriptionPrivateValues default\n"
                                   "<Limit All>\nOrder allow,deny\nAllow all\n</Limit>\n</Policy>\n";

constexpr const char* kFiles = "ServerRoot FOLDER/root\n"
                               "ServerBin FOLDER/programs\n"
                               "DataDir /usr/share/cups\n"
                               "StateDir FOLDER/state\n"
                               "CacheDir FOLDER/cache\n"
                               "RequestRoot FOLDER/spool\n"
                               "TempDir FOLDER/tmp\n"
                               "AccessLog FOLDER/log/access\n"
                               "ErrorLog FOLDER/log/error\n"
                               "PageLog FOLDER/log/page\n"
                               "FileDevice Yes\n"
                               "PassEnv ASAN_OPTIONS UBSAN_OPTIONS TSAN_OPTIONS LSAN_OPTIONS\n"
                               "SetEnv VX_RESOURCES FOLDER/resources\n";

/// A printer that keeps each job in a file named by the job's number, whole or not at all.
constexpr const char* kPaper = "#!/bin/sh\n"
                               "[ $# = 0 ] && exit\n"
                               "folder=${DEVICE_URI#paper:}\n"
                               "cat ${6+\"$6\"} >\"$folder/$1.part\" && mv \"$folder/$1.part\" \"$folder/$1\"\n";

/// The same with a gate: it opens when somebody writes into the pipe "gate" or puts a file there.
constexpr const char* kSlowPaper = "#!/bin/sh\n"
                                   "[ $# = 0 ] && exit\n"
                                   "folder=${DEVICE_URI#slow:}\n"
                                   "dd bs=1 count=1 of=\"$folder/$1.part\" 2>/dev/null\n"
                                   "echo \"INFO: job $1 waits at the gate\" >&2\n"
                                   "read -r open <\"$folder/../gate\"\n"
                                   "cat >>\"$folder/$1.part\" && mv \"$folder/$1.part\" \"$folder/$1\"\n";

void WriteProgram(const ATemporaryFolder& inFolder, const std::string& inName, const char* inText)
{
    fs::permissions(inFolder.Write(inName, inText), fs::perms(0755));
}

std::string Replaced(std::string inText, const std::string& inFolder)
{
    constexpr std::string_view kFolder = "FOLDER";
    for (std::size_t at = 0; (at = inText.find(kFolder, at)) != std::string::npos; at += inFolder.size())
    {
        inText.replace(at, kFolder.size(), inFolder);
    }
    return inText;
}

std::string ReadOutput(const std::string& inCommand)
{
    FILE* pipe = popen(inCommand.c_str(), "r");
    std::string text;
    std::array<char, 256> buffer{};
    while (pipe != nullptr && std::fgets(buffer.data(), static_cast<int>(buffer.size()), pipe) != nullptr)
    {
        text += buffer.data();
    }
    if (pipe != nullptr)
    {
        pclose(pipe);
    }
    return text;
}

} // namespace

APrintServer::APrintServer(const std::map<std::string, std::string>& inEnvironment)
{
    MakeFolders();
    MakeQueues();
    Configure(inEnvironment);
    Start();
}

APrintServer::~APrintServer()
{
    Stop();
}

void APrintServer::MakeFolders() const
{
    fs::permissions(fFolder.GetPath(), fs::perms(0711));
    for (const char* name : {"root/ppd", "programs/filter", "programs/backend", "state", "cache", "spool", "log"})
    {
        fs::create_directories(fFolder.GetPath(name));
    }
    for (const char* name : {"tmp", "paper"})
    {
        fs::create_directories(fFolder.GetPath(name));
        fs::permissions(fFolder.GetPath(name), fs::perms(01777));
    }
    for (const char* name : {"cgi-bin", "daemon", "driver", "monitor", "notifier"})
    {
        fs::create_directory_symlink(fs::path(kSystemPrograms) / name, fFolder.GetPath("programs/") + name);
    }
    const std::string filters = fFolder.GetPath("programs/filter/");
    for (const fs::directory_entry& program : fs::directory_iterator(fs::path(kSystemPrograms) / "filter"))
    {
        fs::create_symlink(program.path(), filters + program.path().filename().string());
    }
    const fs::path filter = VX_FILTER_PATH;
    fs::remove(filters + filter.filename().string());
    for (const fs::directory_entry& program : fs::directory_iterator(filter.parent_path()))
    {
        if (program.path() == filter || program.path().extension() == ".so")
        {
            fs::copy(program, filters);
            fs::permissions(filters + program.path().filename().string(), fs::perms(0755));
        }
    }
    fs::copy(VX_SOURCE_DIR "/resources", fFolder.GetPath("resources"), fs::copy_options::recursive);
    fs::copy(VX_BUILD_DIR "/guides", fFolder.GetPath("resources/guides"));
    WriteProgram(fFolder, "programs/backend/paper", kPaper);
    WriteProgram(fFolder, "programs/backend/slow", kSlowPaper);
    mkfifo(fFolder.GetPath("gate").c_str(), 0600);
    fs::permissions(fFolder.GetPath("gate"), fs::perms(0644));
}

void APrintServer::MakeQueues() const
{
    std::string queues;
    for (const std::string printer : kPrinters)
    {
        for (const std::string prefix : {"", "slow-"})
        {
            const std::string queue = prefix + printer;
            queues.append("<Printer ").append(queue).append(">\nDeviceURI ").append(prefix.empty() ? "paper" : "slow");
            queues.append(":").append(fFolder.GetPath("paper"));
            queues.append("\nState Idle\nAccepting Yes\nErrorPolicy abort-job\n</Printer>\n");
            fs::copy(std::string(VX_BUILD_DIR "/ppd/") + printer + ".ppd",
                     fFolder.GetPath("root/ppd/" + queue + ".ppd"));
        }
    }
    fFolder.Write("root/printers.conf", queues);
}

void APrintServer::Configure(const std::map<std::string, std::string>& inEnvironment) const
{
    std::string files = kFiles;
    for (const auto& [name, value] : inEnvironment)
    {
        files.append("SetEnv ").append(name).append(" ").append(value).append("\n");
    }
    fFolder.Write("root/cups-files.conf", Replaced(files, fFolder.GetPath()));
    fFolder.Write("root/cupsd.conf", Replaced(kScheduler, fFolder.GetPath()));
}

void APrintServer::Start()
{
    const std::string scheduler = fFolder.GetPath("root/cupsd.conf");
    const std::string files = fFolder.GetPath("root/cups-files.conf");
    const std::string output = fFolder.GetPath("log/output");
    fScheduler = fork();
    if (fScheduler == 0)
    {
        umask(022);
        if (std::freopen("/dev/null", "r", stdin) && std::freopen(output.c_str(), "w", stdout))
        {
            dup2(STDOUT_FILENO, STDERR_FILENO);
            execlp("/usr/sbin/cupsd", "cupsd", "-f", "-c", scheduler.c_str(), "-s", files.c_str(), nullptr);
        }
        _exit(127);
    }
    if (!WaitFor([this] { return Answers(); }))
    {
        const std::string why = ReadFile(output) + GetLog();
        Stop();
        throw std::runtime_error("no print server: " + why);
    }
}

void APrintServer::Stop()
{
    if (fScheduler > 0)
    {
        kill(fScheduler, SIGTERM);
        waitpid(fScheduler, nullptr, 0);
        fScheduler = -1;
    }
}

void APrintServer::Restart()
{
    Stop();
    Start();
}

std::string APrintServer::GetCommand(const std::string& inCommand) const
{
    return "CUPS_SERVER=" + fFolder.GetPath("socket") + " LC_ALL=C PATH=$PATH:/usr/sbin " + inCommand;
}

int APrintServer::Print(const std::string& inQueue, const std::string& inArguments) const
{
    // "request id is QUEUE-NUMBER (1 file(s))"
    const std::string answer = ReadOutput(GetCommand("lp -d " + inQueue + " " + inArguments));
    const std::size_t at = answer.find(" " + inQueue + "-");
    return at == std::string::npos ? 0 : std::atoi(answer.c_str() + at + inQueue.size() + 2);
}

bool APrintServer::Run(const std::string& inCommand) const
{
    return std::system(GetCommand(inCommand).c_str()) == 0;
}

http_t* APrintServer::Connect() const
{
    constexpr int kMilliseconds = 10000;
    return httpConnect2(fFolder.GetPath("socket").c_str(), 0, nullptr, AF_UNSPEC, HTTP_ENCRYPTION_NEVER, 1,
                        kMilliseconds, nullptr);
}

bool APrintServer::Answers() const
{
    http_t* server = Connect();
    httpClose(server);
    return server != nullptr;
}

ipp_jstate_t APrintServer::GetState(int inJob) const
{
    http_t* server = Connect();
    cups_job_t* jobs = nullptr;
    const int count = cupsGetJobs2(server, &jobs, nullptr, 0, CUPS_WHICHJOBS_ALL);
    const cups_job_t* job = std::find_if(jobs, jobs + std::max(count, 0),
                                         [inJob](const cups_job_t& candidate) { return candidate.id == inJob; });
    const ipp_jstate_t state = count > 0 && job != jobs + count ? job->state : IPP_JSTATE_PENDING;
    cupsFreeJobs(count, jobs);
    httpClose(server);
    return state;
}

bool APrintServer::WaitFor(const std::function<bool()>& inIsReached) const
{
    // Whatever happens on the server, it writes to its log afterwards or makes its socket.
    const ADescriptor events(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    inotify_add_watch(events.Get(), fFolder.GetPath().c_str(), IN_CREATE);
    inotify_add_watch(events.Get(), fFolder.GetPath("log").c_str(), IN_MODIFY);
    const auto end = std::chrono::steady_clock::now() + kLimit;
    while (!inIsReached())
    {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        pollfd event{events.Get(), POLLIN, 0};
        if (left.count() <= 0 || poll(&event, 1, static_cast<int>(left.count())) == 0)
        {
            return false;
        }
        for (std::array<char, 4096> buffer{}; read(events.Get(), buffer.data(), buffer.size()) > 0;)
        {
        }
    }
    return true;
}

ipp_jstate_t APrintServer::WaitForEnd(int inJob) const
{
    const ipp_jstate_t state = GetState(inJob);
    if (state >= IPP_JSTATE_CANCELED)
    {
        return state;
    }
    static_cast<void>(WaitForLog("[Job " + std::to_string(inJob) + "] time-at-completed="));
    return GetState(inJob);
}

bool APrintServer::WaitForLog(const std::string& inText) const
{
    std::ifstream log(fFolder.GetPath("log/error"));
    std::string text;
    return WaitFor(
        [&]
        {
            log.clear();
            text.append(std::istreambuf_iterator<char>(log), {});
            const bool isFound = text.find(inText) != std::string::npos;
            text.erase(0, text.size() - std::min(text.size(), inText.size()));
            return isFound;
        });
}

void APrintServer::OpenGate() const
{
    // Who waits reads the end of the pipe, who comes later that of a file.
    const ADescriptor gate(fFolder.GetPath("gate"), O_RDWR);
    fs::rename(fFolder.Write("open", ""), fFolder.GetPath("gate"));
}

std::string APrintServer::GetPath(int inJob) const
{
    return fFolder.GetPath("paper/" + std::to_string(inJob));
}

std::string APrintServer::GetLog() const
{
    return ReadFile(fFolder.GetPath("log/error"));
}

std::string APrintServer::GetLeftovers() const
{
    std::string names;
    for (const fs::directory_entry& file : fs::recursive_directory_iterator(fFolder.GetPath("tmp")))
    {
        names += file.path().filename().string() + "\n";
    }
    return names;
}
