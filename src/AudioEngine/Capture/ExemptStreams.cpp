// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/ExemptStreams.h"

#include "AudioEngine/Capture/CoreAudioSupport.h"
#include "Foundation/DisplayText.h"
#include "Foundation/Localization.h"
#include "Foundation/LocalizedOrder.h"

#include <algorithm>
#include <utility>

namespace vello {
namespace {

std::string streamName(const AudioHardware& hardware, AudioObjectID stream) {
    const auto name = attempt([&] { return readString(hardware, stream, kAudioObjectPropertyName); });
    return name && hasVisibleText(*name) ? boundedName(*name) : "";
}

void sortByName(std::vector<ExemptStream>& streams) {
    const LocalizedOrder order;
    std::ranges::stable_sort(streams, [&](const ExemptStream& first, const ExemptStream& second) {
        return order.isBefore(first.name, second.name);
    });
}

} // namespace

std::vector<ExemptStream> ExemptStreams::read() const {
    const auto objects = attempt([&] {
        return readObjectIDList(hardware_, kAudioObjectSystemObject, kAudioHardwarePropertyExemptStreamList,
                                kAudioObjectPropertyScopeGlobal);
    });
    std::vector<ExemptStream> streams;
    for (const AudioObjectID object : objects.value_or(std::vector<AudioObjectID>{}))
        if (auto stream = read(object))
            streams.push_back(std::move(*stream));
    sortByName(streams);
    return streams;
}

std::optional<ExemptStream> ExemptStreams::read(AudioObjectID stream) const try {
    const std::int32_t pid = identities_.processOf(stream);
    auto identity = identities_.identify(stream, pid);
    if (!identity && pid > 0)
        return std::nullopt;
    ExemptStream result{
        .name = {},
        .streamName = streamName(hardware_, stream),
        .deviceUID = deviceUID(stream),
        .isPlaying =
            readProperty<std::uint32_t>(hardware_, stream, kAudioProcessPropertyIsRunningOutput) != 0,
        .reason = readProperty<StreamExemption>(hardware_, stream, kAudioStreamPropertyExemption)};
    if (!identity) {
        result.name = result.streamName.empty() ? localized("Process %1", "?") : result.streamName;
        return result;
    }
    result.sourceID = std::move(identity->key);
    result.name = std::move(identity->displayName);
    result.bundleID = std::move(identity->bundleID);
    if (identity->pid > 0)
        result.pid = identity->pid;
    return result;
} catch (const CoreAudioError&) {
    return std::nullopt;
}

std::optional<std::string> ExemptStreams::deviceUID(AudioObjectID stream) const {
    const auto devices = attempt([&] {
        return readObjectIDList(hardware_, stream, kAudioProcessPropertyDevices,
                                kAudioObjectPropertyScopeOutput);
    });
    if (!devices || devices->empty())
        return std::nullopt;
    return attempt([&] { return readString(hardware_, devices->front(), kAudioDevicePropertyDeviceUID); });
}

} // namespace vello
