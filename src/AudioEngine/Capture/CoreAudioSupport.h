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

/// Typed reads of audio objects. All of them read the main element, answer at once and run on the main
/// thread. A read that fails throws CoreAudioError, with an operation text that names the step.
namespace vello {

/// The objects in a list property. Less than one object's worth of data is an empty list.
std::vector<AudioObjectID> readObjectIDList(const AudioHardware& hardware, AudioObjectID object,
                                            FourCharCode selector, FourCharCode scope);
/// The bytes of a string property as they come: a stranger's, perhaps empty, huge or no UTF-8.
std::string readString(const AudioHardware& hardware, AudioObjectID object, FourCharCode selector);

/// Fills `value` with a property of a fixed size in the global scope. Data of fewer bytes is a failed read.
void readFixedSize(const AudioHardware& hardware, AudioObjectID object, FourCharCode selector,
                   std::span<std::byte> value);
template <class T>
T readProperty(const AudioHardware& hardware, AudioObjectID object, FourCharCode selector) {
    static_assert(std::is_trivially_copyable_v<T>);
    T value{};
    readFixedSize(hardware, object, selector, std::as_writable_bytes(std::span(&value, 1)));
    return value;
}

/// The result of a read, or nothing when it fails.
template <class Read> auto attempt(Read read) -> std::optional<decltype(read())> {
    try {
        return read();
    } catch (const CoreAudioError&) {
        return std::nullopt;
    }
}

/// Hz.
double readNominalSampleRate(const AudioHardware& hardware, AudioObjectID device);
/// One of the kAudioDeviceTransportType... codes or another.
std::uint32_t readTransportType(const AudioHardware& hardware, AudioObjectID device);
AudioStreamBasicDescription readTapStreamBasicDescription(const AudioHardware& hardware, AudioObjectID tap);
/// kAudioObjectUnknown when there is none.
AudioObjectID readDefaultOutputDevice(const AudioHardware& hardware);
/// Output channels over all streams of the device. A device is an output device exactly when there are any.
int readOutputChannelCount(const AudioHardware& hardware, AudioObjectID device);
/// The first output device with exactly this UID; CoreAudioError of an invalid object when there is none.
AudioObjectID readOutputDevice(const AudioHardware& hardware, std::string_view uid);

/// The devices that the user can choose: the default one first, the others by name in the order of the user's
/// language. The application's own aggregate devices are not among them. Never throws a CoreAudioError: what
/// cannot be read is left out.
std::vector<AudioOutputRoute> readOutputRoutes(const AudioHardware& hardware);

/// The name is that of one of the application's own aggregate devices.
bool isOwnAggregateName(std::string_view name);

} // namespace vello
