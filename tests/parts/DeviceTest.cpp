#include "IPPPrinter.h"
#include "RunningFilter.h"
#include "ScopedEnvironment.h"
#include "TemporaryFolder.h"
#include "TestSupport.h"

#include "Monitors/DeviceStatusMonitor/ConstructionFailedException.h"
#include "Monitors/DeviceStatusMonitor/DeviceStatusMonitor.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

using testing::HasSubstr;
using testing::Not;

namespace
{

using AClock = std::chrono::steady_clock;

constexpr const char* kResources = VX_SOURCE_DIR "/resources";
constexpr std::chrono::milliseconds kOften(5);

const std::string kReady = "INFO:The printer is ready.\n";
const std::string kStopped = "ERROR: recoverable:The printer has stopped.\n";

/// A printer that says nothing, and one that never comes to an end.
const std::vector<AIPPPrinter::AMisbehaviour> kStuck = {AIPPPrinter::Hang, AIPPPrinter::Drip};

/// Counts and keeps what a monitor tells; ends the monitoring when it is told to.
class ATestDelegate final : public IDeviceStatusMonitorDelegate
{
public:
    void DeviceStatusHasBeenChanged(const ADeviceStatusInfo& inNewStatus) override
    {
        const std::scoped_lock lock(fMutex);
        fTypes.push_back(inNewStatus.GetStatusType());
        if (fToStop != nullptr)
        {
            fToStop->StopMonitoring();
        }
    }
    std::vector<ADeviceStatusType> GetTypes()
    {
        const std::scoped_lock lock(fMutex);
        return fTypes;
    }

    ADeviceStatusMonitor* fToStop = nullptr;

private:
    std::mutex fMutex;
    std::vector<ADeviceStatusType> fTypes;
};

/// A printer, a monitor that watches it, and the file that it reports to.
class DeviceTest : public testing::Test
{
protected:
    void SetUp() override
    {
        fReport = open(fFolder.GetPath("report").c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        Watch(fPrinter.GetURI());
    }
    void TearDown() override
    {
        fMonitor.reset();
        close(fReport);
    }

    void Watch(const std::string& inURI)
    {
        fMonitor = std::make_unique<ADeviceStatusMonitor>(inURI, fReport, kOften);
        fMonitor->SetDelegate(&fDelegate);
    }

    [[nodiscard]] std::string GetReport() const { return ReadFile(fFolder.GetPath("report")); }

    /// Waits for a line that was not there before, and forgets the report.
    [[nodiscard]] bool WaitForLine(const std::string& inLine)
    {
        return WaitUntil([&] { return GetReport().find(inLine) != std::string::npos; }) && ftruncate(fReport, 0) == 0;
    }

    [[nodiscard]] double StopAndMeasure()
    {
        const auto start = AClock::now();
        fMonitor->StopMonitoring();
        return std::chrono::duration<double>(AClock::now() - start).count();
    }

    AScopedEnvironment fResources{"VX_RESOURCES", kResources};
    AScopedEnvironment fLanguage{"LANG", "en_US.UTF-8"};
    ATemporaryFolder fFolder;
    int fReport = -1;
    AIPPPrinter fPrinter;
    ATestDelegate fDelegate;
    std::unique_ptr<ADeviceStatusMonitor> fMonitor;
};

TEST_F(DeviceTest, ReportsEachTickAndTellsEachChange)
{
    fMonitor->StartMonitoring();
    fMonitor->StartMonitoring(); // has no effect
    EXPECT_TRUE(WaitForLine(kReady + kReady + kReady));
    fPrinter.SetState(5);
    EXPECT_TRUE(WaitForLine(kStopped + kStopped));
    fPrinter.SetState(4);
    EXPECT_TRUE(WaitForLine("WARNING: recovered:\nINFO:Printing\n"));
    fPrinter.SetState(4, {"none", "media-low-report", "toner-low-warning"});
    EXPECT_TRUE(WaitForLine("INFO:The printer needs attention.\n"));
    fPrinter.SetState(4, {"media-empty-error"});
    EXPECT_TRUE(WaitForLine("ERROR: recoverable:The printer has a problem that needs to be fixed.\n"));
    fPrinter.SetState(4, {"toner-low-warning"});
    EXPECT_TRUE(WaitForLine("INFO:The printer needs attention.\n")) << "a warning is no recovery";
    fPrinter.SetState(4, {"shutdown"});
    EXPECT_TRUE(WaitForLine("ERROR:The printer is out of service.\n"));
    fMonitor->StopMonitoring();
    using enum ADeviceStatusType;
    EXPECT_THAT(fDelegate.GetTypes(), testing::ElementsAre(kNormal, kRecoverableError, kNormal, kWarning,
                                                           kRecoverableError, kWarning, kFatalError));
    EXPECT_EQ(fMonitor->GetDeviceStatusInfo().GetStatusType(), kFatalError);
    EXPECT_EQ(fPrinter.GetAskedURI(), fPrinter.GetURI());
}

TEST_F(DeviceTest, DelegateMayStopTheMonitor)
{
    fDelegate.fToStop = fMonitor.get();
    fPrinter.SetState(3, {"processing-to-stop-point"});
    fMonitor->StartMonitoring();
    EXPECT_TRUE(WaitForLine("INFO:The printer is canceling the job.\n"));
    fMonitor->StopMonitoring();
    EXPECT_EQ(fDelegate.GetTypes().size(), 1U);
    EXPECT_EQ(GetReport(), "") << "the request ends the thread before its next tick";
}

TEST_F(DeviceTest, WhatIsBeingAskedAtTheStopIsToldToNobody)
{
    fMonitor->StartMonitoring();
    EXPECT_TRUE(WaitForLine(kReady));
    std::atomic<bool> isAsked = false;
    fPrinter.Misbehave(
        [&](int inSocket, const std::stop_token& inEnd)
        {
            isAsked = true;
            AIPPPrinter::Hang(inSocket, inEnd);
        });
    EXPECT_TRUE(WaitUntil([&] { return isAsked.load(); }));
    fMonitor->StopMonitoring();
    EXPECT_EQ(fDelegate.GetTypes().size(), 1U);
}

TEST_F(DeviceTest, AbsenceIsUnknownAndPasses)
{
    fMonitor->StartMonitoring();
    EXPECT_TRUE(WaitForLine(kReady));
    fPrinter.Misbehave([](int, const std::stop_token&) {});
    EXPECT_TRUE(WaitUntil([&] { return fDelegate.GetTypes().size() == 2; }));
    EXPECT_EQ(fDelegate.GetTypes().back(), ADeviceStatusType::kUnknown);
    fPrinter.SetState(5);
    EXPECT_TRUE(WaitForLine(kStopped));
}

TEST_F(DeviceTest, WhatIsNoAnswerIsRefused)
{
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Type: application/ipp\r\n";
    const std::vector<std::pair<const char*, AIPPPrinter::AMisbehaviour>> faults = {
        {"is no HTTP server", AIPPPrinter::Say("220 ready\r\n\r\n")},
        {"wants a password", AIPPPrinter::Say("HTTP/1.1 401 Unauthorized\r\nContent-Length: 0\r\n"
                                              "WWW-Authenticate: Basic realm=\"x\"\r\n\r\n")},
        {"speaks no IPP", AIPPPrinter::Say(head + "Content-Length: 9\r\n\r\nhellohell")},
        {"says nothing", AIPPPrinter::Say(head + "Content-Length: 0\r\n\r\n")},
        {"breaks off", AIPPPrinter::Say(head + "Content-Length: 99\r\n\r\n" + std::string("\1\1\0\0\0\0\0\1\1G", 10))},
        {"refuses the version",
         AIPPPrinter::Say(head + "Content-Length: 9\r\n\r\n" + std::string("\2\0\5\3\0\0\0\1\3", 9))},
        {"sends endless attributes",
         [head](int inSocket, const std::stop_token& inEnd)
         {
             AIPPPrinter::Say(head + "\r\n" + std::string("\1\1\0\0\0\0\0\1\4", 9))(inSocket, inEnd);
             std::string attributes;
             while (attributes.size() < 64000)
             {
                 attributes += std::string("\x44\0\1a\0\1b", 7);
             }
             while (send(inSocket, attributes.data(), attributes.size(), MSG_NOSIGNAL) > 0 && !inEnd.stop_requested())
             {
             }
         }},
    };
    const auto device = AIPPDevice::Create(fPrinter.GetURI());
    for (const auto& [name, fault] : faults)
    {
        fPrinter.Misbehave(fault);
        const auto start = AClock::now();
        EXPECT_FALSE(device->Resolve({})) << name;
        EXPECT_LT(AClock::now() - start, std::chrono::seconds(7)) << name << ": not for want of time";
    }
    fPrinter.SetState(3);
    EXPECT_TRUE(device->Resolve({}));
}

TEST_F(DeviceTest, NoAnswerIsWaitedForTooLong)
{
    int connections = 0;
    for (const AIPPPrinter::AMisbehaviour& fault : kStuck)
    {
        for (const char* scheme : {"ipp", "ipps"})
        {
            fPrinter.Misbehave(fault);
            const auto start = AClock::now();
            const auto address = FindIPPAddress(fPrinter.GetURI(scheme));
            EXPECT_FALSE(AskPrinter(*address, std::chrono::milliseconds(200), {}).fIsValid);
            EXPECT_LT(AClock::now() - start, std::chrono::milliseconds(500)) << scheme;

            Watch(fPrinter.GetURI(scheme));
            fMonitor->StartMonitoring();
            EXPECT_TRUE(fPrinter.WaitForConnections(connections += 2)) << "the one above, and the monitor's";
            EXPECT_LT(StopAndMeasure(), 0.4) << scheme;
            EXPECT_EQ(GetReport(), "");
        }
    }
    EXPECT_TRUE(fDelegate.GetTypes().empty());
}

TEST_F(DeviceTest, UnreachableDevicesDelayNothing)
{
    for (const std::string& uri : {std::string("ipp://127.0.0.1:1/x"), std::string("ipp://nowhere.invalid/x"),
                                   fPrinter.GetURI("ipps"), std::string("usb://Maker/Model"), std::string()})
    {
        Watch(uri);
        fMonitor->StartMonitoring();
        EXPECT_LT(StopAndMeasure(), 1.5) << uri;
        EXPECT_EQ(GetReport(), "") << uri;
    }
    EXPECT_THROW(ADeviceStatusMonitor(std::nullopt, fReport), AConstructionFailedException);
    EXPECT_THROW(ADeviceStatusMonitor("ipp://127.0.0.1/", -1), AConstructionFailedException);
}

TEST_F(DeviceTest, SurvivesManyStartsChangesAndStops)
{
    for (int i = 0; i < 300; ++i)
    {
        fDelegate.fToStop = i % 7 == 0 ? fMonitor.get() : nullptr;
        fMonitor->StartMonitoring();
        fPrinter.SetState(3 + i % 3, {i % 2 == 0 ? "none" : "media-empty-error"});
        std::this_thread::sleep_for(std::chrono::microseconds(i * 37 % 5000));
        static_cast<void>(fMonitor->GetDeviceStatusInfo());
        if (i % 5 == 0)
        {
            fMonitor->SetDelegate(nullptr);
            fMonitor->SetDelegate(&fDelegate);
        }
        fMonitor->StopMonitoring();
        ASSERT_EQ(ftruncate(fReport, 0), 0);
    }
    fDelegate.fToStop = nullptr;
    fPrinter.SetState(3);
    fMonitor->StartMonitoring();
    EXPECT_TRUE(WaitForLine(kReady));
}

/// The program, watching a printer.
class MonitoredJobTest : public testing::Test
{
protected:
    [[nodiscard]] std::map<std::string, std::string> GetEnvironment(const char* inMonitoring = "True") const
    {
        const std::string statement =
            std::string("*VXSupportDeviceStatusMonitoring: \"") + inMonitoring + "\"\n*MirrorPrint: \"True\"\n";
        return {{"PPD", fFolder.Write("printer.ppd", MakePPD(statement))},
                {"CONTENT_TYPE", "application/pdf"},
                {"VX_RESOURCES", kResources},
                {"LANG", "en"},
                {"DEVICE_URI", fPrinter.GetURI()}};
    }

    static std::string GetPage(int inNumber, const std::string& inContent = "")
    {
        const std::string number = std::to_string(inNumber);
        return "%%Page: " + number + " " + number + "\n" + inContent + "showpage\n";
    }

    const std::string fHead = "%!PS-Adobe-3.0\n%%EndComments\n%%BeginSetup\n%%EndSetup\n";
    const std::string fTail = "%%Trailer\n%%EOF\n";
    ATemporaryFolder fFolder;
    AIPPPrinter fPrinter;
};

TEST_F(MonitoredJobTest, WithoutTheKeywordNobodyIsAskedAndWithoutADeviceNothingStarts)
{
    const AFilterResult result =
        RunFilter({.fOptions = "", .fJob = MakeJob(1), .fEnvironment = GetEnvironment("False")});
    EXPECT_EQ(result.fStatus, 0);
    EXPECT_FALSE(result.IsLogged("INFO:"));
    EXPECT_EQ(fPrinter.GetAskedURI(), "");
    auto environment = GetEnvironment();
    environment["DEVICE_URI"] = "";
    const AFilterResult without = RunFilter({.fOptions = "", .fJob = MakeJob(1), .fEnvironment = environment});
    EXPECT_EQ(without.fStatus, 1);
    EXPECT_EQ(without.fOutput, "");
}

TEST_F(MonitoredJobTest, HoldsTheJobWhileThePrinterIsStopped)
{
    fPrinter.SetState(5);
    ARunningFilter filter("", GetEnvironment());
    filter.Feed(fHead);
    ASSERT_TRUE(filter.WaitForLog(kStopped));
    EXPECT_TRUE(filter.GetLog().find("\nINFO:Printing\n") < filter.GetLog().find(kStopped));
    // The pause comes right after the line: some pages may be quicker. What is held does not come out.
    int pages = 0;
    std::string all;
    do
    {
        all += GetPage(++pages);
        filter.Feed(GetPage(pages));
    } while (pages < 100000 && filter.WaitForOutput(GetPage(pages), 1));
    EXPECT_FALSE(filter.Finish(fTail, 1));
    EXPECT_THAT(filter.GetOutput(), Not(HasSubstr("%%Trailer")));
    fPrinter.SetState(3);
    EXPECT_TRUE(filter.WaitForLog("\nWARNING: recovered:\n", 20));
    EXPECT_EQ(filter.GetFilter().Wait(), 0);
    EXPECT_THAT(filter.GetOutput(), HasSubstr(all + fTail + "\x04"));
}

// Line by line the output has a buffer, which a few pages do not fill.
TEST_F(MonitoredJobTest, GivesWhatThereIsBeforeAPause)
{
    fPrinter.SetState(5);
    ARunningFilter filter("MirrorPrint=True", GetEnvironment());
    filter.Feed(fHead);
    ASSERT_TRUE(filter.WaitForLog(kStopped));
    int pages = 0;
    do
    {
        filter.Feed(GetPage(++pages));
    } while (pages < 20 && !filter.WaitForOutput("%%EndSetup\n", 1));
    EXPECT_LT(pages, 20);
}

// The rest of a job that awaits no line goes in large blocks, and is looked at between them.
TEST_F(MonitoredJobTest, EndsTheJobOnAFatalErrorAndWaits)
{
    fPrinter.SetState(3, {"shutdown"});
    for (const bool awaitsLines : {false, true})
    {
        ARunningFilter filter(awaitsLines ? "MirrorPrint=True" : "", GetEnvironment());
        filter.Feed(fHead + GetPage(1));
        ASSERT_TRUE(filter.WaitForLog("\nERROR:The printer is out of service.\n"));
        ASSERT_TRUE(filter.WaitForLog("Terminating iteration\n"));
        int page = 1;
        do
        {
            filter.Feed(GetPage(++page, std::string(50000, '\n')));
        } while (page < 50 && !filter.WaitForOutput("\n%%EOF\x04", awaitsLines ? 5 : 0));
        EXPECT_LT(page, awaitsLines ? 3 : 50) << "the first page is finished, and no other one begun";
        EXPECT_TRUE(filter.GetOutput().ends_with("\n%%EOF\x04"));
        EXPECT_FALSE(filter.Finish("", 1)) << "it waits to be cancelled";
        filter.GetFilter().Signal(SIGTERM);
        EXPECT_EQ(filter.GetFilter().Wait(), 128 + SIGTERM);
    }
}

TEST_F(MonitoredJobTest, EndsItselfWhenThePrinterCancels)
{
    fPrinter.SetState(3, {"processing-to-stop-point"});
    ARunningFilter filter("", GetEnvironment());
    filter.Feed(fHead);
    ASSERT_TRUE(filter.WaitForLog("\nINFO:The printer is canceling the job.\n"));
    EXPECT_EQ(filter.Finish(GetPage(1) + GetPage(2) + fTail), 0);
    EXPECT_THAT(filter.GetOutput(), HasSubstr(GetPage(2) + fTail + "\x04"));
}

TEST_F(MonitoredJobTest, ABadPrinterDoesNotDelayTheJob)
{
    for (const AIPPPrinter::AMisbehaviour& fault : kStuck)
    {
        fPrinter.Misbehave(fault);
        ARunningFilter filter("", GetEnvironment());
        filter.Feed(fHead + GetPage(1));
        EXPECT_TRUE(fPrinter.WaitForConnections(1));
        const auto start = AClock::now();
        EXPECT_EQ(filter.Finish(fTail), 0);
        EXPECT_LT(AClock::now() - start, std::chrono::seconds(2));
        EXPECT_THAT(filter.GetOutput(), HasSubstr(GetPage(1) + fTail + "\x04"));
    }
}

} // namespace
