// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/ProcessTap.h"

#include "AudioEngine/Capture/CrashGuard.h"
#include "support/FakeAudioHardware.h"
#include "support/RecordingSystemLog.h"
#include "support/VirtualMainThread.h"

#include <gmock/gmock.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vello {

inline bool isRegistered(AudioObjectID aggregate, AudioObjectID tap) {
    for (std::size_t i = 0; i < CrashGuardRegistry::slotCount; ++i)
        if (CrashGuard::registry().aggregateSlot(i) == aggregate && CrashGuard::registry().tapSlot(i) == tap)
            return true;
    return false;
}

inline bool isRegistryEmpty() {
    for (std::size_t i = 0; i < CrashGuardRegistry::slotCount; ++i)
        if (CrashGuard::registry().aggregateSlot(i) != 0 || CrashGuard::registry().tapSlot(i) != 0)
            return false;
    return true;
}

inline EQSettings curve(double gain, double volume = 1) {
    EQSettings settings;
    settings.bandGains.assign(EQSettings::bandCount, gain);
    settings.volume = volume;
    return settings;
}

inline EQSettings settingsFor(const std::string& outputDeviceUID) {
    EQSettings settings;
    settings.outputDeviceUID = outputDeviceUID;
    return settings;
}

struct Tap : testing::Test {
    Tap() { hardware.setDefaultOutputDevice(speakers); }

    std::unique_ptr<ProcessTap> makeTap(ProcessTap::Target target, EQSettings settings = {}) {
        return std::make_unique<ProcessTap>(TapServices{hardware, mainThread, log, queue}, std::move(target),
                                            "Player", std::move(settings));
    }
    std::unique_ptr<ProcessTap> makeTap(EQSettings settings = {}) {
        return makeTap(ProcessTap::Processes{{player}}, std::move(settings));
    }
    void activate(ProcessTap& tap) {
        tap.activate([this](const std::optional<CoreAudioError>& error) {
            ++completions;
            failure = error ? error->description() : "";
        });
    }
    std::unique_ptr<ProcessTap> makeRunningTap(EQSettings settings = {}) {
        auto tap = makeTap(std::move(settings));
        activate(*tap);
        EXPECT_TRUE(tap->activatedAt().has_value()) << failure;
        return tap;
    }
    /// Runs one cycle of `frames` stereo frames of this value and returns the output.
    std::vector<float> play(const ProcessTap& tap, float value, std::size_t frames = 480) {
        std::vector<float> in(2 * frames, value);
        std::vector<float> out(2 * frames, -1);
        const auto bytes = static_cast<std::uint32_t>(in.size() * sizeof(float));
        AudioBufferListStorage<1> input{AudioBufferList{1}, {{2, bytes, in.data()}}};
        AudioBufferListStorage<1> output{AudioBufferList{1}, {{2, bytes, out.data()}}};
        EXPECT_TRUE(hardware.runCycle(tap.aggregateDeviceID(), input.list, output.list));
        return out;
    }
    void expectNothingLeft() {
        queue.drain();
        EXPECT_THAT(hardware.liveTaps(), testing::IsEmpty());
        EXPECT_THAT(hardware.liveAggregates(), testing::IsEmpty());
        EXPECT_EQ(hardware.liveIOProcCount(), 0U);
        EXPECT_EQ(hardware.listenerCount(player, kAudioProcessPropertyDevices), 0U);
        EXPECT_TRUE(isRegistryEmpty());
        EXPECT_EQ(mainThread.pendingTaskCount(), 0U);
    }

    VirtualMainThread mainThread;
    RecordingSystemLog log;
    FakeAudioHardware hardware{mainThread};
    TapTeardownQueue queue;
    AudioObjectID speakers = hardware.addDevice({.uid = "speakers", .name = "Speakers", .sampleRate = 44100});
    AudioObjectID headset = hardware.addDevice(
        {.uid = "headset", .name = "Headset", .transportType = kAudioDeviceTransportTypeBluetooth});
    AudioObjectID player = hardware.addProcess({.pid = 50, .devices = {speakers}});
    int completions = 0;
    std::string failure = "not completed";
};

} // namespace vello
