// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioGraph.h"
#include "Platform/Linux/PipeWire/PipeWireAudioHardware.h"
#include "Players.h"
#include "PrivateAudioSession.h"
#include "support/PumpedMainThread.h"
#include "support/RecordingSystemLog.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace vello {

inline constexpr char kCaptureName[] = "EQ-by-QUORVIN-Tap-Player.1";

/// Counts its calls and plays what it captures.
struct CountingCallback {
    std::atomic<int> calls{0};
    std::atomic<bool> hasDenormals{true}; ///< in the arithmetic of the last call's thread

    static OSStatus run(AudioObjectID, const AudioBufferList* input, AudioBufferList* output,
                        void* data) noexcept {
        auto& self = *static_cast<CountingCallback*>(data);
        const volatile float smallest = std::numeric_limits<float>::min();
        self.hasDenormals = smallest / 2 > 0.0F;
        ++self.calls;
        const AudioBuffer& captured = input->buffers()[0];
        const AudioBuffer& played = output->buffers()[0];
        std::memset(played.mData, 0, played.mDataByteSize);
        if (captured.mData != nullptr)
            std::memcpy(played.mData, captured.mData, std::min(captured.mDataByteSize, played.mDataByteSize));
        return 0;
    }
};

struct Tap {
    AudioObjectID tap = 0;
    AudioObjectID device = 0;
    AudioDeviceIOProcID proc = 0;
};

class PipeWireAudioHardwareTest : public testing::Test {
protected:
    template <class Value> std::vector<Value> read(AudioObjectID object, FourCharCode selector) const {
        const AudioObjectPropertyAddress address{selector, kAudioObjectPropertyScopeGlobal, 0};
        std::uint32_t size = 0;
        if (hardware.getPropertyDataSize(object, address, size) != kAudioHardwareNoError)
            return {};
        std::vector<Value> values(size / sizeof(Value));
        if (hardware.getPropertyData(object, address, size, values.data()) != kAudioHardwareNoError)
            return {};
        return values;
    }
    template <class Value> Value readOne(AudioObjectID object, FourCharCode selector) const {
        const auto values = read<Value>(object, selector);
        return values.size() == 1 ? values.front() : Value{};
    }
    std::string readText(AudioObjectID object, FourCharCode selector) const {
        const auto characters = read<char>(object, selector);
        return {characters.begin(), characters.end()};
    }
    std::vector<AudioObjectID> devices() const {
        return read<AudioObjectID>(kAudioObjectSystemObject, kAudioHardwarePropertyDevices);
    }
    std::vector<AudioObjectID> processes() const {
        return read<AudioObjectID>(kAudioObjectSystemObject, kAudioHardwarePropertyProcessObjectList);
    }
    std::string defaultOutput() const {
        return readText(
            readOne<AudioObjectID>(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultOutputDevice),
            kAudioDevicePropertyDeviceUID);
    }
    std::vector<std::string> devicesOf(AudioObjectID process) const {
        std::vector<std::string> names;
        for (const AudioObjectID device : read<AudioObjectID>(process, kAudioProcessPropertyDevices))
            names.push_back(readText(device, kAudioDevicePropertyDeviceUID));
        return names;
    }
    bool isRunning(AudioObjectID process) const {
        return readOne<std::uint32_t>(process, kAudioProcessPropertyIsRunningOutput) != 0;
    }

    /// Counts the changes of a property.
    std::shared_ptr<int> observe(AudioObjectID object, FourCharCode selector) {
        auto count = std::make_shared<int>(0);
        AudioPropertyListenerID id = 0;
        EXPECT_EQ(hardware.addPropertyListener(
                      object, {selector, kAudioObjectPropertyScopeGlobal, 0}, [count] { ++*count; }, id),
                  kAudioHardwareNoError);
        return count;
    }

    std::unique_ptr<session::ChildProcess> play(session::PlayerKind kind = session::PlayerKind::native,
                                                std::string output = {}) {
        auto player =
            startPlayer(audio, kind, {.name = "player", .signal = "counter", .output = std::move(output)});
        EXPECT_TRUE(mainThread.runUntil([&] {
            return !processes().empty() && isRunning(processes().back());
        })) << player->output();
        return player;
    }

    Tap createTap(const std::string& uuid, const std::string& output = "output-a", bool isChosen = false,
                  AudioObjectID predecessor = 0) {
        Tap made;
        EXPECT_EQ(hardware.createProcessTap({.processes = processes(), .uuid = uuid}, made.tap), 0);
        EXPECT_EQ(hardware.createAggregateDevice({.name = "EQ-by-QUORVIN-Tap-Player",
                                                  .uid = "group-" + uuid,
                                                  .mainSubDevice = output,
                                                  .isMainSubDeviceChosen = isChosen,
                                                  .taps = {{.uid = uuid, .drift = true}},
                                                  .predecessor = predecessor},
                                                 made.device),
                  0);
        return made;
    }
    Tap makeTap(const std::string& uuid, const std::string& output = "output-a", bool isChosen = false,
                AudioObjectID predecessor = 0) {
        const Tap made = createTap(uuid, output, isChosen, predecessor);
        EXPECT_TRUE(mainThread.runUntil(
            [&] { return readOne<std::uint32_t>(made.device, kAudioDevicePropertyDeviceIsAlive) != 0; }));
        return made;
    }
    bool continuesPredecessor(const Tap& tap) const {
        return readOne<std::uint32_t>(tap.device, kAudioDevicePropertyContinuesPredecessor) != 0;
    }
    void start(Tap& tap) { start(tap, callback); }
    void start(Tap& tap, CountingCallback& counting) {
        EXPECT_EQ(hardware.createIOProcID(tap.device, CountingCallback::run, &counting, tap.proc), 0);
        EXPECT_EQ(hardware.startDevice(tap.device, tap.proc), 0);
    }
    void destroy(const Tap& tap) {
        EXPECT_EQ(hardware.stopDevice(tap.device, tap.proc), 0);
        EXPECT_EQ(hardware.destroyIOProcID(tap.device, tap.proc), 0);
        EXPECT_EQ(hardware.destroyAggregateDevice(tap.device), 0);
        EXPECT_EQ(hardware.destroyProcessTap(tap.tap), 0);
    }
    /// As the teardown queue does it: on another thread, while the main thread continues.
    void destroyInBackground(const Tap& tap) {
        std::atomic<bool> isDone = false;
        std::thread queue([&] {
            destroy(tap);
            isDone = true;
        });
        EXPECT_TRUE(mainThread.runUntil([&] { return isDone.load(); }));
        queue.join();
    }
    bool waitUntilLinked(const std::string& from, const std::string& to) {
        return graph.waitUntil([&](const session::GraphState& state) { return state.isLinked(from, to); });
    }

    session::PrivateAudioSession audio;
    session::AudioGraph graph{audio.socket()};
    PumpedMainThread mainThread;
    RecordingSystemLog log;
    CountingCallback callback;
    PipeWireAudioHardware hardware{mainThread, log, audio.socket()};
};

} // namespace vello
