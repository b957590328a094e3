// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireConnection.h"
#include "PipeWireGraph.h"
#include "PipeWireStreamDirector.h"
#include "PipeWireTapPair.h"
#include "Ports/AudioHardware.h"
#include "Ports/MainThread.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace vello {

/// The process taps and aggregate devices: their nodes, and the order in which the applications' streams are
/// moved to them and back. The control loop's lock must be held for every call except `stop`, which takes the
/// lock itself and waits.
class PipeWireTaps {
public:
    using PropertyChanged = std::function<void(AudioObjectID, FourCharCode selector)>;

    PipeWireTaps(PipeWireConnection& connection, PipeWireGraph& graph, PipeWireStreamDirector& director,
                 MainThread& mainThread, std::function<AudioObjectID()> nextObjectID,
                 PropertyChanged propertyChanged);
    /// The loop's thread must have ended.
    ~PipeWireTaps();
    PipeWireTaps(const PipeWireTaps&) = delete;
    PipeWireTaps& operator=(const PipeWireTaps&) = delete;

    OSStatus createTap(const TapDescription& description, AudioObjectID& tap);
    OSStatus createDevice(const AggregateDeviceDescription& description, AudioObjectID& device);
    OSStatus createProc(AudioObjectID device, AudioDeviceIOProc proc, void* clientData,
                        AudioDeviceIOProcID& procID);
    OSStatus start(AudioObjectID device, AudioDeviceIOProcID procID);
    /// Without the lock. Waits until the streams play elsewhere, then ends the callback. They move to a newer
    /// tap of the same processes when there is one, otherwise to their own destination.
    OSStatus stop(AudioObjectID device, AudioDeviceIOProcID procID);
    OSStatus destroyProc(AudioObjectID device, AudioDeviceIOProcID procID);
    OSStatus destroyDevice(AudioObjectID device);
    OSStatus destroyTap(AudioObjectID tap);

    /// Whether a device is started and streams are, or will be, directed to it.
    bool isCapturing() const;
    std::optional<AudioStreamBasicDescription> tapFormat(AudioObjectID tap) const;
    const AggregateDeviceDescription* deviceDescription(AudioObjectID device) const;
    bool isAlive(AudioObjectID device) const;
    /// Started, and the session manager has linked both the device's output and the streams that play into
    /// it.
    bool isConnected(AudioObjectID device) const;
    double sampleRate(AudioObjectID device) const;

    void linksChanged();
    /// Call when streams appear or change their kind, or an output changes its channels.
    void streamsChanged();
    /// Call when the stream requests another latency, or has ended and requests none.
    void latencyChanged(const GraphStream& stream);
    /// All taps and devices become invalid; no callback runs any more.
    void connectionLost();
    /// Waits until the streams of destroyed taps are audible at their new place. Takes the lock. Not on the
    /// control loop's thread.
    void awaitReleasedStreams();

private:
    struct Proc {
        AudioDeviceIOProc function;
        void* clientData;
    };
    struct Tap {
        TapDescription description;
        std::uint32_t channels;  ///< as reported to its creator
        std::string output = {}; ///< node name of the output device, once known
    };
    struct Device {
        AggregateDeviceDescription description;
        AudioObjectID tap = 0;
        std::vector<AudioObjectID> processes;
        std::uint32_t channels = 2;
        std::optional<GraphLatency> latency = {}; ///< requested by its streams
        std::string captureName;
        std::string targetSink;                ///< as PipeWireTapPair uses it
        std::unique_ptr<PipeWireTapPair> pair; ///< null while it waits for its turn
        std::map<AudioDeviceIOProcID, Proc> procs;
        AudioDeviceIOProcID startedProc = 0;
        MainThread::Instant madeAt{};
        /// When the session manager last received work for it: the pair, or the streams.
        MainThread::Instant workGivenAt{};
        bool isDirected = false; ///< the streams are directed to the capture
        /// When the pair is made again, because the session manager has given it up.
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
    /// 1 when the output has one channel, or all streams of the processes are mono; otherwise 2. Mixing a
    /// stream to two channels and then to one makes it louder than mixing it to one.
    std::uint32_t channelsFor(const Tap& tap) const;
    /// The lowest latency that a playing stream of the processes requests.
    std::optional<GraphLatency> latencyFor(const std::vector<AudioObjectID>& processes) const;
    /// The rate in Hz of the device with this name, else of the default output, else a usual rate.
    double expectedSampleRate(const std::string& outputName) const;
    void sampleRateChanged(AudioObjectID device);
    bool isLinkedOut(const Device& device) const;
    bool isLinkedInto(const Device& device) const;
    bool isWorkedOn(const Device& device) const;
    void makeWaitingPairs();
    /// Starts the timer that calls makeWaitingPairs when the time of the current pairs is over.
    void startTurnTimer();
    static void turnIsOver(void* data, std::uint64_t expirations);
    void makePair(AudioObjectID id, Device& device);
    void startPair(AudioObjectID id, Device& device);
    void directWhenLinked(Device& device);
    /// Keeps a device that its creator has destroyed, until it may go.
    void leaveOver(Device device);
    /// Destroys the leftovers that the graph and the session manager have finished with.
    void dropLeftovers();
    /// When the session manager will have given the pair up, if nothing changes until then.
    MainThread::Instant givenUpAt(const Device& device) const;
    /// When a destroyed pair may go, if nothing changes until then.
    MainThread::Instant leftoverUntil(const Device& leftover) const;
    bool isWithoutOutput(const Device& device) const;
    /// Makes the pairs again that were given up and have waited long enough.
    void retryRefused();
    void retry(Device& device);
    void startRetryTimer();
    static void retryIsDue(void* data, std::uint64_t expirations);
    /// Whether a newer tap has processes of this one.
    bool hasSuccessor(const Device& device) const;
    /// Whether newer devices have all streams of this one.
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
    /// Pairs that were destroyed before the graph or the session manager had finished with them.
    std::vector<Device> leftovers_;
    MainThread::Instant linksChangedAt_{};
    AudioDeviceIOProcID lastProcID_ = 0;
    MainThread::Instant stopBurstDeadline_{};
    MainThread::Instant lastStopEnded_{};
    bool isBarrierPending_ = false;
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

} // namespace vello
