// SPDX-License-Identifier: Apache-2.0
#include "PipeWireTaps.h"

#include "PipeWireGraph.h"
#include "PipeWireStreamDirector.h"

#include <algorithm>
#include <utility>

#include <pipewire/thread-loop.h>

namespace vello {

namespace {

AudioStreamBasicDescription floatFormat(std::uint32_t channels, double sampleRate) {
    const auto bytesPerFrame = channels * static_cast<std::uint32_t>(sizeof(float));
    return {.mSampleRate = sampleRate,
            .mFormatID = kAudioFormatLinearPCM,
            .mFormatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked,
            .mBytesPerPacket = bytesPerFrame,
            .mFramesPerPacket = 1,
            .mBytesPerFrame = bytesPerFrame,
            .mChannelsPerFrame = channels,
            .mBitsPerChannel = 32};
}

} // namespace

PipeWireTaps::PipeWireTaps(PipeWireConnection& connection, PipeWireGraph& graph,
                           PipeWireStreamDirector& director, MainThread& mainThread,
                           std::function<AudioObjectID()> nextObjectID, PropertyChanged propertyChanged)
    : connection_(connection), graph_(graph), nextObjectID_(std::move(nextObjectID)),
      propertyChanged_(std::move(propertyChanged)), formats_(graph, director.rights()),
      context_(graph, director, formats_, propertyChanged_, missedCycles_),
      handover_(connection, graph.links(), mainThread), devices_(connection, context_) {}

// Taps and devices

OSStatus PipeWireTaps::createTap(const TapDescription& description, AudioObjectID& tap) {
    // The session manager moves streams of known processes. Capturing everything else is not supported.
    if (description.mixdown != TapMixdown::stereoOfProcesses)
        return kAudioHardwareIllegalOperationError;
    if (connection_.nodeCore() == nullptr)
        return kAudioHardwareNotRunningError;
    tap = nextObjectID_();
    taps_[tap] = {description, formats_.channels(description.processes, {})};
    return kAudioHardwareNoError;
}

OSStatus PipeWireTaps::createDevice(const AggregateDeviceDescription& description, AudioObjectID& device) {
    const auto tap = std::ranges::find_if(taps_, [&](const auto& entry) {
        return description.taps.size() == 1 && entry.second.description.uuid == description.taps.front().uid;
    });
    if (tap == taps_.end())
        return kAudioHardwareBadObjectError;
    if (connection_.nodeCore() == nullptr)
        return kAudioHardwareNotRunningError;
    device = nextObjectID_();
    ProcessTap& tapped = tap->second;
    tapped.output = description.mainSubDevice;
    tapped.channels = channelsFor(tapped);
    devices_.add(device, description, tap->first, tapped);
    return kAudioHardwareNoError;
}

OSStatus PipeWireTaps::destroyDevice(AudioObjectID device) {
    return devices_.remove(device) ? kAudioHardwareNoError : kAudioHardwareBadObjectError;
}

OSStatus PipeWireTaps::destroyTap(AudioObjectID tap) {
    const bool wasKnown = taps_.erase(tap) != 0;
    pw_thread_loop_signal(connection_.threadLoop(), false);
    return wasKnown ? kAudioHardwareNoError : kAudioHardwareBadObjectError;
}

std::uint32_t PipeWireTaps::channelsFor(const ProcessTap& tap) const {
    return formats_.channels(tap.description.processes, tap.output);
}

std::optional<AudioStreamBasicDescription> PipeWireTaps::tapFormat(AudioObjectID tap) const {
    const auto found = taps_.find(tap);
    if (found == taps_.end())
        return std::nullopt;
    if (const PipeWireTapDevice* device = devices_.ofTap(tap))
        return floatFormat(device->channels(), device->sampleRate());
    return floatFormat(found->second.channels, formats_.sampleRate({}));
}

// Callbacks

OSStatus PipeWireTaps::createProc(AudioObjectID device, AudioDeviceIOProc proc, void* clientData,
                                  AudioDeviceIOProcID& procID) {
    PipeWireTapDevice* found = devices_.find(device);
    if (found == nullptr)
        return kAudioHardwareBadObjectError;
    procID = ++lastProcID_;
    found->addProc(procID, proc, clientData);
    return kAudioHardwareNoError;
}

OSStatus PipeWireTaps::start(AudioObjectID device, AudioDeviceIOProcID procID) {
    PipeWireTapDevice* found = devices_.find(device);
    if (found == nullptr || !found->hasProc(procID))
        return kAudioHardwareBadObjectError;
    if (found->startedProc() != 0)
        return kAudioHardwareIllegalOperationError;
    found->start(procID);
    pw_thread_loop_signal(connection_.threadLoop(), false);
    return kAudioHardwareNoError;
}

OSStatus PipeWireTaps::stop(AudioObjectID device, AudioDeviceIOProcID procID) {
    PipeWireLock lock(connection_);
    PipeWireTapDevice* found = devices_.find(device);
    if (found == nullptr)
        return kAudioHardwareBadObjectError;
    if (found->startedProc() != procID)
        return kAudioHardwareNotRunningError;
    if (found->hasStreams() || found->adopter() != 0)
        handover_.awaitSuccessor([&] { return handoverOf(device); });
    if ((found = devices_.find(device)) == nullptr)
        return kAudioHardwareBadObjectError;
    found->release();
    handover_.awaitRelease([&] {
        const PipeWireTapDevice* current = devices_.find(device);
        return current == nullptr || !current->isLinkedInto();
    });
    if ((found = devices_.find(device)) == nullptr)
        return kAudioHardwareBadObjectError;
    devices_.stop(*found);
    handover_.stopped();
    return kAudioHardwareNoError;
}

OSStatus PipeWireTaps::destroyProc(AudioObjectID device, AudioDeviceIOProcID procID) {
    PipeWireTapDevice* found = devices_.find(device);
    if (found == nullptr || !found->hasProc(procID))
        return kAudioHardwareBadObjectError;
    found->removeProc(procID);
    return kAudioHardwareNoError;
}

PipeWireTapHandover::Progress PipeWireTaps::handoverOf(AudioObjectID device) const {
    using Progress = PipeWireTapHandover::Progress;
    const PipeWireTapDevice* old = devices_.find(device);
    if (old == nullptr)
        return Progress::gone;
    if (old->adopter() == 0 && !hasSuccessor(*old))
        return Progress::unannounced;
    return devices_.isHandedOver(*old) ? Progress::done : Progress::underWay;
}

bool PipeWireTaps::hasSuccessor(const PipeWireTapDevice& device) const {
    return std::ranges::any_of(
        taps_, [&](const auto& tap) { return device.isSucceededBy(tap.first, tap.second.description); });
}

// Changes of the graph

void PipeWireTaps::latencyChanged(const GraphStream& stream) {
    if (const GraphClient* client = graph_.clients().ownerOf(stream))
        devices_.latencyChanged(client->objectID);
}

void PipeWireTaps::streamsChanged() {
    // A mono tap is rebuilt when a stream or an output needs stereo. A stereo tap also serves mono.
    for (auto& [id, tap] : taps_) {
        if (tap.channels != 1 || channelsFor(tap) == 1)
            continue;
        tap.channels = 2;
        propertyChanged_(id, kAudioTapPropertyFormat);
    }
    devices_.streamsChanged();
}

void PipeWireTaps::linksChanged() {
    devices_.linksChanged();
    pw_thread_loop_signal(connection_.threadLoop(), false);
}

void PipeWireTaps::connectionLost() {
    devices_.clear();
    taps_.clear();
    pw_thread_loop_signal(connection_.threadLoop(), false);
}

void PipeWireTaps::awaitReleasedStreams() {
    PipeWireLock lock(connection_);
    connection_.waitUntil(devices_.settledAt(), [] { return false; });
}

} // namespace vello
