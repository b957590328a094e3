// SPDX-License-Identifier: Apache-2.0
#include "App/AppDelegate.h"

#include "support/FakeApplicationEvents.h"
#include "support/FakeAudioHardware.h"
#include "support/FakeCaptureAuthorization.h"
#include "support/FakeKeyValueStore.h"
#include "support/FakeRunningApplications.h"
#include "support/RecordingSystemLog.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualMainThread.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::IsEmpty;
using testing::StartsWith;

class AppDelegateTest : public testing::Test {
protected:
    AppDelegateTest() {
        hardware_.setDefaultOutputDevice(hardware_.addDevice({.uid = "speakers", .name = "Speakers"}));
        hardware_.addDevice({.uid = "headphones", .name = "Headphones"});
        authorization_.answer = Consent::allowed;
        applications_.applications[101] = {"org.example.player", "Player", std::nullopt};
    }

    void start() {
        delegate_.emplace(AudioControllerPorts{hardware_, mainThread_, applications_, events_, authorization_,
                                               shared_, log_},
                          folder_.path());
        mainThread_.advance(2s);
    }
    void terminate() {
        events_.fireWillTerminate();
        delegate_.reset();
    }
    std::vector<std::string> outputsOfTaps() const {
        std::vector<std::string> outputs;
        for (const AudioObjectID device : hardware_.liveAggregates())
            outputs.push_back(hardware_.aggregateDescription(device).mainSubDevice);
        return outputs;
    }

    TemporaryFolder folder_;
    const std::filesystem::path settingsFile_ = folder_ / "EQ by QUORVIN/settings.json";
    VirtualMainThread mainThread_;
    FakeAudioHardware hardware_{mainThread_};
    FakeRunningApplications applications_;
    FakeApplicationEvents events_;
    FakeCaptureAuthorization authorization_;
    FakeKeyValueStore shared_;
    RecordingSystemLog log_;
    std::optional<AppDelegate> delegate_;
};

TEST_F(AppDelegateTest, ProcessesThatPlayHaveTapsFromTheStart) {
    hardware_.addProcess({.pid = 101});
    start();
    EXPECT_EQ(hardware_.liveTaps().size(), 1U);
    terminate();
}

TEST_F(AppDelegateTest, ProcessesThatPlayLaterAreTappedAndReleasedWhenTheyStop) {
    start();
    EXPECT_THAT(hardware_.liveTaps(), IsEmpty());
    const AudioObjectID process = hardware_.addProcess({.pid = 101});
    mainThread_.advance(2s);
    EXPECT_EQ(hardware_.liveTaps().size(), 1U);
    hardware_.removeObject(process);
    mainThread_.advance(2s);
    events_.fireWillTerminate();
    EXPECT_THAT(hardware_.liveTaps(), IsEmpty());
}

TEST_F(AppDelegateTest, AnApplicationHasItsStoredSettingsAndOthersThoseOfTheSystem) {
    writeTestFile(settingsFile_, R"({"version":1,"sources":{
        "org.example.player":{"outputDeviceUID":"headphones"},
        "eq-by-quorvin.system.master":{"outputDeviceUID":"elsewhere"}}})");
    hardware_.addDevice({.uid = "elsewhere", .name = "Elsewhere"});
    hardware_.addProcess({.pid = 101});
    start();
    EXPECT_THAT(outputsOfTaps(), testing::ElementsAre("headphones"));
    hardware_.addProcess({.pid = 202});
    mainThread_.advance(2s);
    EXPECT_THAT(outputsOfTaps(), testing::UnorderedElementsAre("headphones", "elsewhere"));
    terminate();
}

TEST_F(AppDelegateTest, RunningAloneWritesNoSettings) {
    start();
    mainThread_.advance(1h);
    EXPECT_FALSE(std::filesystem::exists(settingsFile_));
    terminate();
}

TEST_F(AppDelegateTest, TheEndTakesEveryTapDownAndWritesTheSettings) {
    writeTestFile(settingsFile_, R"({"version":7,"sources":{"pid.7":{"volume":2},"a":{"volume":3}},
        "userPresets":[{"name":"Rock","bandGains":[1,2,3,4,5,6,7,8]}]})");
    hardware_.addProcess({.pid = 101});
    start();
    events_.fireWillTerminate();
    EXPECT_THAT(hardware_.liveTaps(), IsEmpty());
    EXPECT_THAT(hardware_.liveAggregates(), IsEmpty());

    const StoredSettings stored = SettingsStore(folder_.path(), mainThread_, log_).load();
    EXPECT_THAT(stored.sources, testing::ElementsAre(testing::Key("a")))
        << "a process number means nothing tomorrow";
    EXPECT_EQ(stored.userPresets.size(), 1U);
}

TEST_F(AppDelegateTest, ACorruptSettingsFileIsNoReasonNotToRun) {
    writeTestFile(settingsFile_, "{");
    hardware_.addProcess({.pid = 101});
    start();
    EXPECT_EQ(hardware_.liveTaps().size(), 1U);
    EXPECT_THAT(log_.messages(LogLevel::error),
                Contains(StartsWith("Settings file corrupt, starting fresh: ")));
    EXPECT_EQ(readTestFile(settingsFile_.string() + ".corrupt"), "{");
    terminate();
}

TEST_F(AppDelegateTest, ALostConnectionEndsTheTapsAndTheyComeBackWithTheServer) {
    hardware_.addProcess({.pid = 101});
    start();
    hardware_.loseConnection();
    mainThread_.advance(2s);
    EXPECT_THAT(hardware_.liveTaps(), IsEmpty());
    hardware_.setDefaultOutputDevice(hardware_.addDevice({.uid = "speakers", .name = "Speakers"}));
    hardware_.addProcess({.pid = 101});
    mainThread_.advance(2s);
    // Not their number: a separate thread removes the taps that a rebuild has replaced.
    EXPECT_THAT(hardware_.liveTaps(), testing::Not(IsEmpty()));
    terminate();
}

} // namespace
} // namespace vello
