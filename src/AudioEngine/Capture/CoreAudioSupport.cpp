// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/CoreAudioSupport.h"

#include "Foundation/LocalizedOrder.h"
#include "Foundation/Product.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <set>

namespace vello {

namespace {

/// The names of the two steps of a read in error messages.
struct ReadOperations {
    const char* size;
    const char* data;
};
constexpr ReadOperations kListRead{"Reading object list size", "Reading object list"};
constexpr ReadOperations kPropertyRead{"Reading data size for property", "Reading property data"};
constexpr ReadOperations kStreamsRead{"Reading output stream configuration size",
                                      "Reading output stream configuration"};

void check(OSStatus status, const char* operation) {
    if (status != kAudioHardwareNoError)
        throw CoreAudioError::status(status, operation);
}

std::uint32_t readSize(const AudioHardware& hardware, AudioObjectID object,
                       const AudioObjectPropertyAddress& address, const ReadOperations& operations) {
    std::uint32_t size = 0;
    check(hardware.getPropertyDataSize(object, address, size), operations.size);
    return size;
}

/// Fills `data` and returns the number of bytes read, which is smaller if the property shrank after its size
/// was read.
std::size_t readData(const AudioHardware& hardware, AudioObjectID object,
                     const AudioObjectPropertyAddress& address, std::span<std::byte> data,
                     const ReadOperations& operations) {
    auto size = static_cast<std::uint32_t>(data.size());
    check(hardware.getPropertyData(object, address, size, data.data()), operations.data);
    return std::min<std::size_t>(size, data.size());
}

std::vector<std::byte> readBytes(const AudioHardware& hardware, AudioObjectID object,
                                 const AudioObjectPropertyAddress& address,
                                 const ReadOperations& operations) {
    std::vector<std::byte> bytes(readSize(hardware, object, address, operations));
    bytes.resize(readData(hardware, object, address, bytes, operations));
    return bytes;
}

constexpr AudioObjectPropertyAddress globalAddress(FourCharCode selector) {
    return {selector, kAudioObjectPropertyScopeGlobal, kAudioObjectPropertyElementMain};
}

std::vector<AudioObjectID> readDevices(const AudioHardware& hardware) {
    return readObjectIDList(hardware, kAudioObjectSystemObject, kAudioHardwarePropertyDevices,
                            kAudioObjectPropertyScopeGlobal);
}

std::optional<std::string> uidOfOutputDevice(const AudioHardware& hardware, AudioObjectID device) {
    if (attempt([&] { return readOutputChannelCount(hardware, device); }).value_or(0) == 0)
        return std::nullopt;
    return attempt([&] { return readString(hardware, device, kAudioDevicePropertyDeviceUID); });
}

void sortRoutes(std::vector<AudioOutputRoute>& routes) {
    const LocalizedOrder order;
    std::ranges::stable_sort(routes, [&](const AudioOutputRoute& first, const AudioOutputRoute& second) {
        if (first.isDefault != second.isDefault)
            return first.isDefault;
        return order.isBefore(first.name, second.name);
    });
}

} // namespace

std::vector<AudioObjectID> readObjectIDList(const AudioHardware& hardware, AudioObjectID object,
                                            FourCharCode selector, FourCharCode scope) {
    const AudioObjectPropertyAddress address{selector, scope, kAudioObjectPropertyElementMain};
    std::vector<AudioObjectID> objects(readSize(hardware, object, address, kListRead) /
                                       sizeof(AudioObjectID));
    if (objects.empty())
        return objects;
    const auto bytes =
        readData(hardware, object, address, std::as_writable_bytes(std::span(objects)), kListRead);
    objects.resize(bytes / sizeof(AudioObjectID));
    return objects;
}

std::string readString(const AudioHardware& hardware, AudioObjectID object, FourCharCode selector) {
    const auto bytes = readBytes(hardware, object, globalAddress(selector), kPropertyRead);
    std::string text(bytes.size(), '\0');
    std::ranges::transform(bytes, text.begin(), [](std::byte byte) { return static_cast<char>(byte); });
    return text;
}

void readFixedSize(const AudioHardware& hardware, AudioObjectID object, FourCharCode selector,
                   std::span<std::byte> value) {
    const auto address = globalAddress(selector);
    readSize(hardware, object, address, kPropertyRead);
    if (readData(hardware, object, address, value, kPropertyRead) < value.size())
        throw CoreAudioError::status(kAudioHardwareBadPropertySizeError, kPropertyRead.data);
}

OSStatus writeNumber(AudioHardware& hardware, AudioObjectID object, FourCharCode selector,
                     std::uint32_t value) {
    return hardware.setPropertyData(object, globalAddress(selector), sizeof value, &value);
}

double readNominalSampleRate(const AudioHardware& hardware, AudioObjectID device) {
    return readProperty<double>(hardware, device, kAudioDevicePropertyNominalSampleRate);
}

std::uint32_t readTransportType(const AudioHardware& hardware, AudioObjectID device) {
    return readProperty<std::uint32_t>(hardware, device, kAudioDevicePropertyTransportType);
}

AudioStreamBasicDescription readTapStreamBasicDescription(const AudioHardware& hardware, AudioObjectID tap) {
    return readProperty<AudioStreamBasicDescription>(hardware, tap, kAudioTapPropertyFormat);
}

AudioObjectID readDefaultOutputDevice(const AudioHardware& hardware) {
    return readProperty<AudioObjectID>(hardware, kAudioObjectSystemObject,
                                       kAudioHardwarePropertyDefaultOutputDevice);
}

int readOutputChannelCount(const AudioHardware& hardware, AudioObjectID device) {
    const AudioObjectPropertyAddress address{kAudioDevicePropertyStreamConfiguration,
                                             kAudioObjectPropertyScopeOutput,
                                             kAudioObjectPropertyElementMain};
    if (readSize(hardware, device, address, kStreamsRead) < sizeof(AudioBufferListStorage<1>))
        return 0;
    const auto bytes = readBytes(hardware, device, address, kStreamsRead);
    AudioBufferList header;
    if (bytes.size() < sizeof header)
        return 0;
    std::memcpy(&header, bytes.data(), sizeof header);
    // Do not trust the header: read no more buffers than there is data for.
    const auto present = (bytes.size() - sizeof header) / sizeof(AudioBuffer);
    std::uint64_t channels = 0;
    for (std::size_t i = 0; i < std::min<std::size_t>(header.mNumberBuffers, present); ++i) {
        AudioBuffer buffer;
        std::memcpy(&buffer, bytes.data() + sizeof header + i * sizeof buffer, sizeof buffer);
        channels += buffer.mNumberChannels;
    }
    return static_cast<int>(std::min<std::uint64_t>(channels, std::numeric_limits<int>::max()));
}

std::optional<AudioObjectID> readProcessOutputDevice(const AudioHardware& hardware,
                                                     std::span<const AudioObjectID> processes) {
    const auto isOutput = [&](AudioObjectID device) {
        const auto name = attempt([&] { return readString(hardware, device, kAudioObjectPropertyName); });
        return !(name && isOwnAggregateName(*name)) &&
               attempt([&] { return readOutputChannelCount(hardware, device); }).value_or(0) > 0;
    };
    for (const AudioObjectID process : processes) {
        const auto devices = attempt([&] {
            return readObjectIDList(hardware, process, kAudioProcessPropertyDevices,
                                    kAudioObjectPropertyScopeOutput);
        });
        if (!devices)
            continue;
        if (const auto found = std::ranges::find_if(*devices, isOutput); found != devices->end())
            return *found;
    }
    return std::nullopt;
}

AudioObjectID readOutputDevice(const AudioHardware& hardware, std::string_view uid) {
    for (const AudioObjectID device : readDevices(hardware))
        if (uidOfOutputDevice(hardware, device) == uid)
            return device;
    throw CoreAudioError::invalidObject("No output device for UID " + std::string(uid));
}

std::vector<AudioOutputRoute> readOutputRoutes(const AudioHardware& hardware) {
    const auto defaultUID = attempt([&] {
        return readString(hardware, readDefaultOutputDevice(hardware), kAudioDevicePropertyDeviceUID);
    });
    std::set<std::string> taken;
    std::vector<AudioOutputRoute> routes;
    for (const AudioObjectID device :
         attempt([&] { return readDevices(hardware); }).value_or(std::vector<AudioObjectID>{})) {
        const auto uid = uidOfOutputDevice(hardware, device);
        if (!uid || uid->empty() || taken.contains(*uid))
            continue;
        const auto name = attempt([&] { return readString(hardware, device, kAudioObjectPropertyName); });
        if (!name || isOwnAggregateName(*name))
            continue;
        taken.insert(*uid);
        routes.push_back({*uid, *name, uid == defaultUID});
    }
    sortRoutes(routes);
    return routes;
}

bool isOwnAggregateName(std::string_view name) {
    return name.starts_with(kTapNamePrefix);
}

} // namespace vello
