// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireGraph.h"
#include "PipeWireStreamDirector.h"
#include "PipeWireTapPair.h"
#include "PipeWireConnection.h"
#include "Ports/AudioHardware.h"
#include "Ports/MainThread.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace vello {

/// The process taps and aggregate devices: what they are made of, and in which order the applications'
/// streams come to them and leave. Calls take the control loop's lock held, except `stop`, which takes it
/// itself and waits.
class PipeWireTaps {
public:
    using PropertyChanged = std::function<void(AudioObjectID, FourCharCode selector)>;

    PipeWireTaps(PipeWireConnection& connection, PipeWireGraph& graph, PipeWireStreamDirector& director,
                 MainThread& mainThread, std::function<AudioObjectID()> nextObjectID,
                 PropertyChanged propertyChanged);
    /// The loop's thread has ended.
    ~PipeWireTaps();
    PipeWireTaps(const PipeWireTaps&) = delete;
    PipeWireTaps& operator=(const PipeWireTaps&) = delete;

    OSStatus createTap(const TapDescription& description, AudioObjectID& tap);
    OSStatus createDevice(const AggregateDeviceDescription& description, AudioObjectID& device);
    OSStatus createProc(AudioObjectID device, AudioDeviceIOProc proc, void* clientData,
                        AudioDeviceIOProcID& procID);
    OSStatus start(AudioObjectID device, AudioDeviceIOProcID procID);
    /// Without the lock. Waits until the streams play elsewhere: at a newer tap of the same processes when
    /// one is on its way, else where they want to; then ends the callback.
    OSStatus stop(AudioObjectID device, AudioDeviceIOProcID procID);
    OSStatus destroyProc(AudioObjectID device, AudioDeviceIOProcID procID);
    OSStatus destroyDevice(AudioObjectID device);
    OSStatus destroyTap(AudioObjectID tap);

    /// Whether a device is started, and streams are directed to it or will be.
    bool isCapturing() const;
    std::optional<AudioStreamBasicDescription> tapFormat(AudioObjectID tap) const;
    const AggregateDeviceDescription* deviceDescription(AudioObjectID device) const;
    bool isAlive(AudioObjectID device) const;
    /// Started, and the session manager has linked what the device plays to and what plays into it.
    bool isConnected(AudioObjectID device) const;
    double sampleRate(AudioObjectID device) const;

    void linksChanged();
    /// Streams have come or are of another kind, or an output has other channels.
    void streamsChanged();
    /// The stream asks for another latency, or asks no longer since it has ended.
    void latencyChanged(const GraphStream& stream);
    /// Every tap and device dies; no callback runs any more.
    void connectionLost();
    /// Until the streams of what was destroyed are heard where they went. Not on the control loop's thread;
    /// takes the lock.
    void awaitReleasedStreams();

private:
    struct Proc {
        AudioDeviceIOProc function;
        void* clientData;
    };
    struct Tap {
        TapDescription description;
        std::uint32_t channels;  ///< as its maker was told, or told that they changed
        std::string output = {}; ///< the device that it is played on, by name, once that is known
    };
    struct Device {
        AggregateDeviceDescription description;
        AudioObjectID tap = 0;
        std::vector<AudioObjectID> processes;
        std::uint32_t channels = 2;
        std::optional<GraphLatency> latency = {}; ///< that its streams ask for
        std::string captureName;
        std::string targetSink;                ///< as PipeWireTapPair takes it
        std::unique_ptr<PipeWireTapPair> pair; ///< null while it waits for its turn
        std::map<AudioDeviceIOProcID, Proc> procs;
        AudioDeviceIOProcID startedProc = 0;
        MainThread::Instant madeAt{};
        /// When the session manager was last given work for it: the pair, or the streams.
        MainThread::Instant workGivenAt{};
        bool isDirected = false; ///< the streams are directed to the capture
        /// When the pair is made anew, because the session manager has given it up.
        std::optional<MainThread::Instant> retryAt = {};
        MainThread::Duration retryDelay{};
        MainThread::Instant destroyedAt{};
        bool wasAlive = false;
        bool wasConnected = false;
        double announcedSampleRate = 0;
    };

    Device* find(AudioObjectID device);
    const Device* find(AudioObjectID device) const;
    std::string freeCaptureName(const std::string& deviceName) const;
    std::string targetSink(const AggregateDeviceDescription& description) const;
    /// 1 when the output has one channel, or all streams of the processes are mono; otherwise 2. A stream
    /// that is mixed to two channels and then to one is louder than one that is mixed to one.
    std::uint32_t channelsFor(const Tap& tap) const;
    /// The least that a stream of the processes asks for which plays.
    std::optional<GraphLatency> latencyFor(const std::vector<AudioObjectID>& processes) const;
    /// The rate of the device with this name, else of the default output, else a usual one.
    double expectedSampleRate(const std::string& outputName) const;
    void sampleRateChanged(AudioObjectID device);
    bool isLinkedOut(const Device& device) const;
    bool isLinkedInto(const Device& device) const;
    bool isWorkedOn(const Device& device) const;
    void makeWaitingPairs();
    /// Has makeWaitingPairs called when those that are worked on have had their time.
    void startTurnTimer();
    static void turnIsOver(void* data, std::uint64_t expirations);
    void makePair(AudioObjectID id, Device& device);
    void startPair(AudioObjectID id, Device& device);
    void directWhenLinked(Device& device);
    /// Its maker needs it no longer.
    void leaveOver(Device device);
    /// Destroys the leftovers that nobody is busy with any more.
    void dropLeftovers();
    /// When the session manager has given the pair up, if nothing changes until then.
    MainThread::Instant givenUpAt(const Device& device) const;
    /// When a pair that was destroyed goes, if nothing changes until then.
    MainThread::Instant leftoverUntil(const Device& leftover) const;
    bool isWithoutOutput(const Device& device) const;
    /// Makes the pairs anew that were given up and have waited long enough.
    void retryRefused();
    void retry(Device& device);
    void startRetryTimer();
    static void retryIsDue(void* data, std::uint64_t expirations);
    /// Whether a newer tap has processes of this one.
    bool hasSuccessor(const Device& device) const;
    /// Whether a newer device has all the streams of this one.
    bool isHandedOver(const Device& device) const;
    void awaitSuccessor(AudioObjectID device);
    void postMainThreadBarrier(int turns);

    PipeWireConnection& connection_;
    PipeWireGraph& graph_;
    PipeWireStreamDirector& director_;
    MainThread& mainThread_;
    std::function<AudioObjectID()> nextObjectID_;
    PropertyChanged propertyChanged_;
    spa_source* turnTimer_;
    spa_source* retryTimer_;
    std::map<AudioObjectID, Tap> taps_;
    std::map<AudioObjectID, Device> devices_;
    /// Pairs that were destroyed before the graph or the session manager was done with them.
    std::vector<Device> leftovers_;
    MainThread::Instant linksChangedAt_{};
    AudioDeviceIOProcID lastProcID_ = 0;
    MainThread::Instant stopBurstDeadline_{};
    MainThread::Instant lastStopEnded_{};
    bool isBarrierPending_ = false;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace vello
