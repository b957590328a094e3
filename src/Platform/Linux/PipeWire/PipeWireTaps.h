// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireConnection.h"
#include "PipeWireTapDevice.h"
#include "PipeWireTapDevices.h"
#include "PipeWireTapFormats.h"
#include "PipeWireTapHandover.h"
#include "Ports/AudioHardware.h"
#include "Ports/MainThread.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>

namespace vello {

class PipeWireGraph;
class PipeWireStreamDirector;

/// The process taps and aggregate devices: their nodes, and the order in which the applications' streams are
/// moved to them and back. The control loop's lock must be held for every call except `stop`, which takes the
/// lock itself and waits.
class PipeWireTaps {
public:
    using PropertyChanged = PipeWireTapDevice::PropertyChanged;

    PipeWireTaps(PipeWireConnection& connection, PipeWireGraph& graph, PipeWireStreamDirector& director,
                 MainThread& mainThread, std::function<AudioObjectID()> nextObjectID,
                 PropertyChanged propertyChanged);
    /// The loop's thread must have ended.
    ~PipeWireTaps() = default;
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

    std::optional<AudioStreamBasicDescription> tapFormat(AudioObjectID tap) const;
    /// Null when there is no such device.
    const PipeWireTapDevice* device(AudioObjectID id) const { return devices_.find(id); }

    /// The graph's cycles that the taps were not ready for, since this object was made. Any thread.
    std::uint64_t missedCycles() const { return missedCycles_.load(std::memory_order_relaxed); }

    /// Whether nodes are kept ready for the next device. Initially not.
    void setKeepsSpare(bool keepsSpare) { devices_.setKeepsSpare(keepsSpare); }
    bool hasSpare() const { return devices_.hasSpare(); }

    void linksChanged();
    /// Call when streams appear, vanish or change their kind, or an output changes its channels.
    void streamsChanged();
    /// Call when the stream requests another latency, or has ended and requests none.
    void latencyChanged(const GraphStream& stream);
    /// Call before the process ends: what stops from now on has no successor.
    void prepareToTerminate() { handover_.prepareToTerminate(); }
    /// All taps and devices become invalid; no callback runs any more.
    void connectionLost();
    /// Waits until the streams of destroyed taps are audible at their new place. Takes the lock. Not on the
    /// control loop's thread.
    void awaitReleasedStreams();

private:
    std::uint32_t channelsFor(const ProcessTap& tap) const;
    PipeWireTapHandover::Progress handoverOf(AudioObjectID device) const;
    /// Whether a newer tap has processes of this device.
    bool hasSuccessor(const PipeWireTapDevice& device) const;

    PipeWireConnection& connection_;
    PipeWireGraph& graph_;
    std::function<AudioObjectID()> nextObjectID_;
    PropertyChanged propertyChanged_;
    PipeWireTapFormats formats_;
    std::atomic<std::uint64_t> missedCycles_{0};
    PipeWireTapDevice::Context context_;
    PipeWireTapHandover handover_;
    std::map<AudioObjectID, ProcessTap> taps_;
    PipeWireTapDevices devices_;
    AudioDeviceIOProcID lastProcID_ = 0;
};

} // namespace vello
