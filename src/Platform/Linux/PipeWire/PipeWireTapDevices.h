// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireTapDevice.h"
#include "PipeWireTapLeftovers.h"
#include "PipeWireTapSpare.h"
#include "PipeWireTimer.h"
#include "Ports/AudioHardware.h"
#include "Ports/MainThread.h"

#include <functional>
#include <map>
#include <string>

namespace vello {

class PipeWireConnection;

/// The aggregate devices. Makes their pairs a few at a time, and again when the session manager has given
/// one up. The control loop's lock guards all of it.
class PipeWireTapDevices {
public:
    /// `context` must outlive the devices.
    PipeWireTapDevices(PipeWireConnection& connection, const PipeWireTapDevice::Context& context);
    PipeWireTapDevices(const PipeWireTapDevices&) = delete;
    PipeWireTapDevices& operator=(const PipeWireTapDevices&) = delete;

    void add(AudioObjectID id, const AggregateDeviceDescription& description, AudioObjectID tap,
             const ProcessTap& tapped);
    /// Restores the device's streams. False when there is no such device.
    bool remove(AudioObjectID id);
    /// Call when the connection is lost. No callback runs any more.
    void clear();

    /// Null when there is no such device.
    PipeWireTapDevice* find(AudioObjectID id);
    const PipeWireTapDevice* find(AudioObjectID id) const;
    const PipeWireTapDevice* ofTap(AudioObjectID tap) const;
    /// Whether newer devices have all streams of this one.
    bool isHandedOver(const PipeWireTapDevice& device) const;
    /// After this returns the device's callback does not run any more.
    void stop(PipeWireTapDevice& device);
    /// When the streams of removed devices are audible at their new place.
    MainThread::Instant settledAt() const { return leftovers_.settledAt(); }

    /// Whether nodes are kept ready for the next device.
    void setKeepsSpare(bool keepsSpare);
    bool hasSpare() const { return spare_.isReady(); }

    void linksChanged();
    /// Call when streams appear or vanish.
    void streamsChanged();
    /// Call when a stream of the process requests another latency, or has ended and requests none.
    void latencyChanged(AudioObjectID process);

private:
    /// Makes the pairs of the next devices, as many as the session manager may work on now.
    void makeWaitingPairs();
    void makePair(AudioObjectID id, PipeWireTapDevice& device);
    std::function<void()> sampleRateChangedOf(AudioObjectID id);
    std::string freeCaptureName(const std::string& deviceName) const;
    /// Keeps the device's pair until it may go. `wasLinked`: streams may have played into it.
    void leaveOver(PipeWireTapDevice& device, bool wasLinked);
    /// Gives up refused pairs, and makes the pairs again that were given up and have waited long enough.
    void retryRefused();
    void retry(PipeWireTapDevice& device);
    /// When the next step for a refused pair is due, if nothing changes until then.
    MainThread::Instant retryDueAt(const PipeWireTapDevice& device, bool isOneOfMany) const;
    bool areManyUnlinked() const;
    void startRetryTimer();

    PipeWireConnection& connection_;
    const PipeWireTapDevice::Context& context_;
    PipeWireTimer turnTimer_;
    PipeWireTimer retryTimer_;
    std::map<AudioObjectID, PipeWireTapDevice> devices_;
    PipeWireTapLeftovers leftovers_;
    PipeWireTapSpare spare_;
};

} // namespace vello
