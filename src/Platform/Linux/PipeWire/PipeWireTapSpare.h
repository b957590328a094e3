// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireTapDevice.h"
#include "PipeWireTapLeftovers.h"
#include "PipeWireTapPair.h"
#include "PipeWireTimer.h"
#include "Ports/MainThread.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace vello {

class PipeWireConnection;

/// One pair that is made in advance, for the next device. The session manager takes tens of milliseconds to
/// link a new pair, and for so long a new application would be heard without its settings. Nothing plays into
/// the spare pair, and it keeps nothing running. The control loop's lock guards all of it.
class PipeWireTapSpare {
public:
    /// Returns a capture name that no pair has.
    using FreeCaptureName = std::function<std::string(const std::string& deviceName)>;

    /// The references must outlive the object.
    PipeWireTapSpare(PipeWireConnection& connection, const PipeWireTapDevice::Context& context,
                     PipeWireTapLeftovers& leftovers, FreeCaptureName freeCaptureName);
    PipeWireTapSpare(const PipeWireTapSpare&) = delete;
    PipeWireTapSpare& operator=(const PipeWireTapSpare&) = delete;

    /// Initially not wanted. Makes the pair at once if there is none.
    void setWanted(bool isWanted);
    /// Whether the pair is linked, so that a device which takes it is alive at once. A change is announced as
    /// that of kAudioHardwarePropertySpareDevice.
    bool isReady() const;
    /// A pair that follows the default output and is linked or will soon be; null when there is none with
    /// these channels. The next one is made once the session manager has moved the streams to this one.
    std::unique_ptr<PipeWireTapPair> take(std::uint32_t channels);
    /// Call when the connection is lost.
    void clear();
    void linksChanged();
    bool hasCapture(const std::string& name) const;

private:
    void provide();
    void make();
    void leaveOver();
    /// Whether the pair has the channels that most devices will need, and is linked or may still be.
    bool isGood() const;
    std::uint32_t usualChannels() const;

    PipeWireConnection& connection_;
    const PipeWireTapDevice::Context& context_;
    PipeWireTapLeftovers& leftovers_;
    const FreeCaptureName freeCaptureName_;
    PipeWireTimer timer_;
    bool isWanted_ = false;
    std::unique_ptr<PipeWireTapPair> pair_;
    std::uint32_t channels_ = 0;
    MainThread::Instant madeAt_{};
    bool wasReady_ = false;
};

} // namespace vello
