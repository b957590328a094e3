// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Controller/AudioController.h"

#include "support/FakeApplicationEvents.h"
#include "support/FakeAudioHardware.h"
#include "support/FakeCaptureAuthorization.h"
#include "support/FakeKeyValueStore.h"
#include "support/FakeRunningApplications.h"
#include "support/RecordingSystemLog.h"
#include "support/TemporaryFolder.h"
#include "support/VirtualMainThread.h"

#include <gmock/gmock.h>

#include <bit>
#include <chrono>
#include <memory>
#include <string>
#include <utility>

namespace vello {

/// A controller with fake ports. The user allows the capture. Process 101 belongs to the application
/// "player", process 102 to "browser".
struct Controller : testing::Test {
    Controller() {
        hardware.setDefaultOutputDevice(hardware.addDevice({.uid = "speakers", .name = "Speakers"}));
        applications.applications[101] = {"player", "Player", std::nullopt};
        applications.applications[102] = {"browser", "Browser", std::nullopt};
        authorization.answer = Consent::allowed;
    }

    void start() {
        controller = std::make_unique<AudioController>(
            AudioControllerPorts{hardware, mainThread, applications, events, authorization, cloud, log},
            folder.path());
        mainThread.runPosted();
    }
    /// Starts while "player" and "browser" play.
    void startWithBoth() {
        hardware.addProcess({.pid = 101});
        hardware.addProcess({.pid = 102});
        start();
    }
    /// Starts a playing process and waits until the monitor has noticed it.
    AudioObjectID play(std::int32_t pid) {
        const AudioObjectID process = hardware.addProcess({.pid = pid});
        mainThread.advance(std::chrono::milliseconds(300));
        return process;
    }
    void stop(AudioObjectID process) {
        hardware.removeObject(process);
        mainThread.advance(std::chrono::milliseconds(300));
    }
    std::shared_ptr<ProcessTap> tap(const std::string& id) const {
        const auto found = controller->taps().find(id);
        return found == controller->taps().end() ? nullptr : found->second;
    }
    TapRealtimeContext& context(const std::string& id) const { return *tap(id)->realtimeContext(); }
    void setLevel(const std::string& id, float level) const {
        context(id).levelBits = std::bit_cast<std::uint32_t>(level);
    }
    StoredSettings stored() { return SettingsStore(folder.path(), mainThread, log).load(); }

    TemporaryFolder folder;
    const std::filesystem::path settingsFile = folder / "EQ by QUORVIN/settings.json";
    VirtualMainThread mainThread;
    FakeAudioHardware hardware{mainThread};
    FakeRunningApplications applications;
    FakeApplicationEvents events;
    FakeCaptureAuthorization authorization;
    FakeKeyValueStore cloud;
    RecordingSystemLog log;
    std::unique_ptr<AudioController> controller;
};

} // namespace vello
