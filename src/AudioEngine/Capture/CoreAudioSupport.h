// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Capture/CoreAudioError.h"
#include "Models/AudioOutputRoute.h"
#include "Ports/AudioHardware.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

/// Typed reads of audio object properties. They read the main element and do not block. Main thread only. A
/// failed read throws CoreAudioError that names the failed step.
namespace vello {

/// The objects in a list property. Data shorter than one object is an empty list.
std::vector<AudioObjectID> readObjectIDList(const AudioHardware& hardware, AudioObjectID object,
                                            FourCharCode selector, FourCharCode scope);
/// The raw bytes of a string property. Untrusted: may be empty, huge or not valid UTF-8.
std::string readString(const AudioHardware& hardware, AudioObjectID object, FourCharCode selector);

/// Fills `value` with a fixed-size property in the global scope. Shorter data is a failed read.
void readFixedSize(const AudioHardware& hardware, AudioObjectID object, FourCharCode selector,
                   std::span<std::byte> value);
template <class T>
T readProperty(const AudioHardware& hardware, AudioObjectID object, FourCharCode selector) {
    static_assert(std::is_trivially_copyable_v<T>);
    T value{};
    readFixedSize(hardware, object, selector, std::as_writable_bytes(std::span(&value, 1)));
    return value;
}

/// Sets a number of the object in the global scope.
OSStatus writeNumber(AudioHardware& hardware, AudioObjectID object, FourCharCode selector,
                     std::uint32_t value);

/// The result of a read, or nullopt when it throws CoreAudioError.
template <class Read> auto attempt(Read read) -> std::optional<decltype(read())> {
    try {
        return read();
    } catch (const CoreAudioError&) {
        return std::nullopt;
    }
}

/// Hz.
double readNominalSampleRate(const AudioHardware& hardware, AudioObjectID device);
/// One of the kAudioDeviceTransportType... codes or any other.
std::uint32_t readTransportType(const AudioHardware& hardware, AudioObjectID device);
AudioStreamBasicDescription readTapStreamBasicDescription(const AudioHardware& hardware, AudioObjectID tap);
/// kAudioObjectUnknown when there is no default output.
AudioObjectID readDefaultOutputDevice(const AudioHardware& hardware);
/// Output channels of all streams of the device. A device with at least one is an output device.
int readOutputChannelCount(const AudioHardware& hardware, AudioObjectID device);
/// The first output device that one of these process objects plays to by itself. Skips this application's
/// aggregate devices, which captured processes are routed through. Unreadable processes count as silent.
std::optional<AudioObjectID> readProcessOutputDevice(const AudioHardware& hardware,
                                                     std::span<const AudioObjectID> processes);
/// The first output device with exactly this UID. Throws CoreAudioError (invalid object) when there is no
/// such device.
AudioObjectID readOutputDevice(const AudioHardware& hardware, std::string_view uid);

/// The output devices that the user can choose: the default first, then the others sorted by name in the
/// user's language. Excludes the application's own aggregate devices. Skips unreadable devices instead of
/// throwing CoreAudioError.
std::vector<AudioOutputRoute> readOutputRoutes(const AudioHardware& hardware);

/// Whether this is the name of one of the application's own aggregate devices.
bool isOwnAggregateName(std::string_view name);

} // namespace vello
