// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/TapCoordinator.h"

#include "support/FakeAudioHardware.h"
#include "support/RecordingSystemLog.h"
#include "support/VirtualMainThread.h"

#include <gmock/gmock.h>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vello {

inline constexpr const char* kFullRebuild = "Full tap rebuild: ";
inline constexpr const char* kSourceRebuild = "Rebuilding tap for ";
inline constexpr const char* kActivationFailed = "Tap activation failed for ";
inline constexpr std::size_t kTasksWhenIdle = 1; ///< the watchdog's

struct Coordinator : testing::Test {
    Coordinator() { hardware.setDefaultOutputDevice(speakers); }

    void makeCoordinator() {
        coordinator = std::make_unique<TapCoordinator>(
            hardware, mainThread, log, queue,
            [this](const std::string& sourceID) { return settings[sourceID]; }, kernel);
    }
    void start() {
        makeCoordinator();
        coordinator->setEnabled(true);
        coordinator->start();
    }
    AudioProcessGroup makeGroup(const std::string& id, std::int32_t pid) {
        return {id, "Name of " + id, id, pid, {hardware.addProcess({.pid = pid})}};
    }
    /// Starts with these groups and waits until every tap runs.
    void startWith(const std::vector<AudioProcessGroup>& groups) {
        start();
        coordinator->updateGroups(groups);
        mainThread.runPosted();
        for (const auto& [id, tap] : coordinator->taps())
            EXPECT_TRUE(tap->activatedAt().has_value()) << id;
    }
    std::shared_ptr<ProcessTap> tap(const std::string& id) const {
        const auto found = coordinator->taps().find(id);
        return found == coordinator->taps().end() ? nullptr : found->second;
    }
    void changeFormat(const std::string& id) {
        hardware.setProperty(tap(id)->tapID(), kAudioTapPropertyFormat,
                             FakeAudioHardware::floatFormat(2, 44100));
    }
    void expectPlatformTaps(std::size_t count) {
        queue.drain();
        EXPECT_THAT(hardware.liveTaps(), testing::SizeIs(count));
        EXPECT_THAT(hardware.liveAggregates(), testing::SizeIs(count));
        EXPECT_EQ(hardware.liveIOProcCount(), count);
    }

    VirtualMainThread mainThread;
    RecordingSystemLog log;
    FakeAudioHardware hardware{mainThread};
    TapTeardownQueue queue;
    std::map<std::string, EQSettings> settings;
    BlockKernelChoice kernel = processBlockKernel();
    AudioObjectID speakers = hardware.addDevice({.uid = "speakers", .name = "Speakers"});
    AudioObjectID headset = hardware.addDevice({.uid = "headset", .name = "Headset"});
    AudioProcessGroup a = makeGroup("a", 50);
    AudioProcessGroup b = makeGroup("b", 60);
    std::unique_ptr<TapCoordinator> coordinator;
};

} // namespace vello
