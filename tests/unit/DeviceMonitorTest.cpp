#include "ScopedEnvironment.h"
#include "TestDevice.h"
#include "WriteRecorder.h"

#include "Monitors/DeviceStatusMonitor/DeviceStatusMonitor.h"

#include <condition_variable>

namespace
{

const std::string kReady = "INFO:The printer is ready.\n";
const std::string kStopped = "ERROR: recoverable:The printer has stopped.\n";
const ADeviceReport kIdle = {3, {}};

/// A device, a monitor that watches it, and what happens: the monitor's reports, a line for each change that it tells,
/// and one for each question that is left open.
class DeviceMonitorTest : public testing::Test, protected IDeviceStatusMonitorDelegate
{
protected:
    void SetUp() override { fMonitor.SetDelegate(this); }
    void TearDown() override { fMonitor.StopMonitoring(); }
    void DeviceStatusHasBeenChanged(const ADeviceStatusInfo& inNewStatus) override
    {
        dprintf(fHappened.GetDescriptor(), "told %d\n", static_cast<int>(inNewStatus.GetStatusType()));
        if (fStopsAtChange)
        {
            fMonitor.StopMonitoring();
        }
    }
    ADeviceReport Answer(const std::stop_token& inStop) const
    {
        if (const ADeviceReport* const report = fReport)
        {
            return *report;
        }
        dprintf(fHappened.GetDescriptor(), "asked\n");
        std::mutex mutex;
        std::unique_lock lock(mutex);
        std::condition_variable_any().wait(lock, inStop, [] { return false; });
        return kIdle;
    }

    const AScopedEnvironment fResources{"VX_RESOURCES", VX_SOURCE_DIR "/resources"};
    const AScopedEnvironment fLanguage{"LANG", "en"};
    const AWriteRecorder fHappened;
    std::atomic<const ADeviceReport*> fReport = &kIdle; ///< null: the device answers no sooner than at a stop
    bool fStopsAtChange = false;                        ///< the delegate does
    ADeviceStatusMonitor fMonitor{"test://device", fHappened.GetDescriptor(), std::chrono::milliseconds(5),
                                  ATestDevice::MakeFactory([this](const auto& inStop) { return Answer(inStop); })};
};

TEST_F(DeviceMonitorTest, ReportsEachTickAndTellsEachChange)
{
    static const std::pair<ADeviceReport, std::string> kCases[] = {
        {kIdle, kReady + "told 1\n" + kReady + kReady},
        {{5, {}}, kStopped + "told 3\n" + kStopped},
        {{4, {}}, "WARNING: recovered:\ntold 1\nINFO:Printing\n"},
        {{4, {"report", "warning"}}, "INFO:The printer needs attention.\ntold 2\n"},
        {{4, {"error"}}, "ERROR: recoverable:The printer has a problem that needs to be fixed.\ntold 3\n"},
        {{4, {"warning"}}, "INFO:The printer needs attention.\ntold 2\n"}, // which is no recovery
        {{4, {"fatal"}}, "ERROR:The printer is out of service.\ntold 4\n"},
        {{std::nullopt, {}}, "told 0\n"},
        {{5, {}}, kStopped + "told 3\n"},
    };
    fMonitor.StartMonitoring();
    for (const auto& [report, happened] : kCases)
    {
        fReport = &report;
        fHappened.TakeUpTo(happened);
    }
    EXPECT_EQ(fMonitor.GetDeviceStatusInfo().GetStatusType(), ADeviceStatusType::kRecoverableError);
}

TEST_F(DeviceMonitorTest, TellsNothingBehindAStop)
{
    fMonitor.StartMonitoring();
    fHappened.TakeUpTo("told 1\n");
    fReport = nullptr;
    fHappened.TakeUpTo("asked\n");
    fMonitor.StartMonitoring(); // has no effect
    fMonitor.StopMonitoring();
    EXPECT_TRUE(fHappened.TakeWrites().empty()) << "what is being asked is told to nobody";
    static const ADeviceReport kCanceling = {3, {"canceling"}};
    fReport = &kCanceling;
    fStopsAtChange = true;
    fMonitor.StartMonitoring();
    fHappened.TakeUpTo("INFO:The printer is canceling the job.\ntold 5\n");
    fMonitor.StopMonitoring();
    EXPECT_TRUE(fHappened.TakeWrites().empty()) << "the delegate's stop ends the thread before its next tick";
}

TEST_F(DeviceMonitorTest, SurvivesManyStartsChangesAndStops)
{
    static const std::vector<ADeviceReport> kReports = {kIdle, {5, {}}, {4, {"error"}}, {4, {}}, {3, {"error"}}};
    for (std::size_t i = 0; i < 300 && !HasFailure(); ++i)
    {
        fStopsAtChange = i % 7 == 0;
        fMonitor.StartMonitoring();
        fReport = i % 33 == 0 ? nullptr : &kReports[i % kReports.size()];
        fHappened.TakeUpTo(i % 3 == 0 ? "" : "\n");
        static_cast<void>(fMonitor.GetDeviceStatusInfo());
        fMonitor.SetDelegate(i % 5 == 0 ? nullptr : this);
        fMonitor.StopMonitoring();
        static_cast<void>(fHappened.TakeWrites());
    }
}

} // namespace
