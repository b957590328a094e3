// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/AudioHardware.h"
#include "Ports/MainThread.h"
#include "Ports/SystemLog.h"

#include <cstdint>
#include <memory>
#include <string>

namespace vello {

class PipeWireRedirectGuard;

/// The audio object model on PipeWire.
///
/// A device is a node of class Audio/Sink; its UID is the name of the node. A process object is a client that
/// owns a playback stream. A tap with its aggregate device is a capture and a playback stream in one graph
/// cycle; the session manager moves the applications' streams to the capture while the device is started.
///
/// PipeWire's control loop runs on its own thread. Reads are answered from a mirror that this thread updates.
class PipeWireAudioHardware final : public AudioHardware {
public:
    /// Connects at once when a server runs, otherwise as soon as one starts. `remoteName` is the name of the
    /// server's socket; empty for the user's own server. `guard` restores the applications' streams when this
    /// object cannot; it must outlive the object and may be null. Throws std::runtime_error when PipeWire's
    /// client libraries are unusable.
    PipeWireAudioHardware(MainThread& mainThread, SystemLog& log, std::string remoteName = {},
                          PipeWireRedirectGuard* guard = nullptr);
    ~PipeWireAudioHardware() override;

    /// Xruns: the graph's cycles that a tap was not ready for, of all taps since this object was made. Any
    /// thread.
    std::uint64_t missedCycles() const;

    OSStatus getPropertyDataSize(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                 std::uint32_t& size) const override;
    OSStatus getPropertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                             std::uint32_t& size, void* data) const override;
    OSStatus setPropertyData(AudioObjectID object, const AudioObjectPropertyAddress& address,
                             std::uint32_t size, const void* data) override;
    OSStatus addPropertyListener(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                 AudioPropertyListener listener,
                                 AudioPropertyListenerID& listenerID) override;
    OSStatus removePropertyListener(AudioObjectID object, const AudioObjectPropertyAddress& address,
                                    AudioPropertyListenerID listenerID) override;
    OSStatus createProcessTap(const TapDescription& description, AudioObjectID& tap) override;
    OSStatus createAggregateDevice(const AggregateDeviceDescription& description,
                                   AudioObjectID& device) override;
    OSStatus createIOProcID(AudioObjectID device, AudioDeviceIOProc proc, void* clientData,
                            AudioDeviceIOProcID& procID) override;
    OSStatus startDevice(AudioObjectID device, AudioDeviceIOProcID procID) override;
    void prepareToTerminate() override;
    OSStatus stopDevice(AudioObjectID device, AudioDeviceIOProcID procID) override;
    OSStatus destroyIOProcID(AudioObjectID device, AudioDeviceIOProcID procID) override;
    OSStatus destroyAggregateDevice(AudioObjectID device) override;
    OSStatus destroyProcessTap(AudioObjectID tap) override;
    void destroyAggregateDeviceInSignalHandler(AudioObjectID device) noexcept override;
    void destroyProcessTapInSignalHandler(AudioObjectID tap) noexcept override;

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace vello
