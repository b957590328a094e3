// SPDX-License-Identifier: Apache-2.0
#include "PipeWireTaps.h"

#include <algorithm>
#include <ranges>
#include <string_view>
#include <utility>

#include <pipewire/thread-loop.h>

namespace vello {

using namespace std::chrono_literals;

namespace {

/// How long a device may take to be linked. The session manager needs seconds for dozens of taps at once. A
/// device that is late counts as alive, and its streams are directed to it when it is linked.
constexpr auto linkPatience = 1s;
/// How many pairs the session manager works on at once, and for how long a pair counts as being worked on.
/// With dozens at once it repeats each link while the first attempt is in progress, and gives up the node
/// after five attempts (WirePlumber 0.4).
constexpr int pairsAtOnce = 8;
constexpr auto workPatience = 2s;
/// Sample rate in Hz until a device has reported one.
constexpr double usualSampleRate = 48000;
constexpr std::size_t longestNodeName = 64;
/// The server's default for a node that requests no latency, unless it is configured otherwise.
constexpr GraphLatency usualLatency{1024, 48000};

/// A valid node name for every parser of the session manager. Names come from untrusted sources.
std::string nodeName(std::string_view name) {
    std::string safe;
    for (const char character : name.substr(0, longestNodeName)) {
        const bool isSafe = (character >= 'a' && character <= 'z') ||
                            (character >= 'A' && character <= 'Z') ||
                            (character >= '0' && character <= '9') || character == '-' || character == '_';
        safe += isSafe ? character : '_';
    }
    return safe;
}

} // namespace

PipeWireTaps::PipeWireTaps(PipeWireConnection& connection, PipeWireGraph& graph,
                           PipeWireStreamDirector& director, MainThread& mainThread,
                           std::function<AudioObjectID()> nextObjectID, PropertyChanged propertyChanged)
    : connection_(connection), graph_(graph), director_(director), mainThread_(mainThread),
      nextObjectID_(std::move(nextObjectID)), propertyChanged_(std::move(propertyChanged)),
      turnTimer_(pw_loop_add_timer(connection.loop(), turnIsOver, this)),
      retryTimer_(pw_loop_add_timer(connection.loop(), retryIsDue, this)) {}

PipeWireTaps::~PipeWireTaps() {
    pw_loop_destroy_source(connection_.loop(), retryTimer_);
    pw_loop_destroy_source(connection_.loop(), turnTimer_);
}

PipeWireTaps::Device* PipeWireTaps::find(AudioObjectID device) {
    const auto entry = devices_.find(device);
    return entry != devices_.end() ? &entry->second : nullptr;
}

const PipeWireTaps::Device* PipeWireTaps::find(AudioObjectID device) const {
    const auto entry = devices_.find(device);
    return entry != devices_.end() ? &entry->second : nullptr;
}

OSStatus PipeWireTaps::createTap(const TapDescription& description, AudioObjectID& tap) {
    // The session manager moves streams of known processes. Capturing everything else is not supported.
    if (description.mixdown != TapMixdown::stereoOfProcesses)
        return kAudioHardwareIllegalOperationError;
    if (connection_.nodeCore() == nullptr)
        return kAudioHardwareNotRunningError;
    tap = nextObjectID_();
    taps_[tap] = {description, 2};
    taps_[tap].channels = channelsFor(taps_[tap]);
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
    Device& made = devices_[device];
    made.description = description;
    made.tap = tap->first;
    made.processes = tap->second.description.processes;
    tap->second.output = description.mainSubDevice;
    tap->second.channels = made.channels = channelsFor(tap->second);
    made.madeAt = MainThread::Clock::now();
    makeWaitingPairs();
    return kAudioHardwareNoError;
}

bool PipeWireTaps::isWorkedOn(const Device& device) const {
    if (device.pair == nullptr || MainThread::Clock::now() > device.workGivenAt + workPatience)
        return false;
    return !isLinkedOut(device) || (director_.hasStreams(device.captureName) && !isLinkedInto(device));
}

void PipeWireTaps::makeWaitingPairs() {
    auto workedOn = std::ranges::count_if(std::views::values(devices_),
                                          [&](const Device& device) { return isWorkedOn(device); });
    for (auto& [id, device] : devices_) {
        if (device.pair != nullptr)
            continue;
        if (connection_.nodeCore() == nullptr)
            return;
        if (workedOn >= pairsAtOnce)
            return startTurnTimer();
        makePair(id, device);
        ++workedOn;
    }
}

void PipeWireTaps::startTurnTimer() {
    timespec pause{.tv_sec = std::chrono::seconds(workPatience).count(), .tv_nsec = 1'000'000};
    pw_loop_update_timer(connection_.loop(), turnTimer_, &pause, nullptr, false);
}

void PipeWireTaps::turnIsOver(void* data, std::uint64_t) {
    static_cast<PipeWireTaps*>(data)->makeWaitingPairs();
}

void PipeWireTaps::makePair(AudioObjectID id, Device& device) {
    device.captureName = freeCaptureName(device.description.name);
    device.workGivenAt = MainThread::Clock::now();
    device.announcedSampleRate = sampleRate(id);
    device.targetSink = targetSink(device.description);
    device.latency = latencyFor(device.processes);
    device.pair = std::make_unique<PipeWireTapPair>(
        connection_.nodeCore(),
        PipeWireTapPair::Description{.captureName = device.captureName,
                                     .playbackName = device.captureName + "-output",
                                     .group = device.description.uid,
                                     .targetSink = device.targetSink,
                                     .channels = device.channels,
                                     .latency = device.latency},
        [this, id] { sampleRateChanged(id); });
    if (device.startedProc != 0)
        startPair(id, device);
    startRetryTimer();
}

void PipeWireTaps::startPair(AudioObjectID id, Device& device) {
    const Proc& proc = device.procs.at(device.startedProc);
    device.pair->start(id, proc.function, proc.clientData);
}

std::string PipeWireTaps::freeCaptureName(const std::string& deviceName) const {
    // During a rebuild the old and the new capture exist side by side. Using the lowest free number keeps the
    // names few and the same in every run.
    for (int number = 1;; ++number) {
        std::string name = nodeName(deviceName) + "." + std::to_string(number);
        const auto hasName = [&](const Device& device) { return device.captureName == name; };
        if (std::ranges::none_of(std::views::values(devices_), hasName) &&
            std::ranges::none_of(leftovers_, hasName))
            return name;
    }
}

std::string PipeWireTaps::targetSink(const AggregateDeviceDescription& description) const {
    const GraphSink* defaultSink = graph_.defaultSink();
    const bool isDefault = defaultSink != nullptr && defaultSink->name == description.mainSubDevice;
    return isDefault && !description.isMainSubDeviceChosen ? std::string{} : description.mainSubDevice;
}

OSStatus PipeWireTaps::createProc(AudioObjectID device, AudioDeviceIOProc proc, void* clientData,
                                  AudioDeviceIOProcID& procID) {
    Device* found = find(device);
    if (found == nullptr)
        return kAudioHardwareBadObjectError;
    procID = ++lastProcID_;
    found->procs[procID] = {proc, clientData};
    return kAudioHardwareNoError;
}

OSStatus PipeWireTaps::start(AudioObjectID device, AudioDeviceIOProcID procID) {
    Device* found = find(device);
    if (found == nullptr || !found->procs.contains(procID))
        return kAudioHardwareBadObjectError;
    if (found->startedProc != 0)
        return kAudioHardwareIllegalOperationError;
    found->startedProc = procID;
    if (found->pair != nullptr)
        startPair(device, *found);
    directWhenLinked(*found);
    return kAudioHardwareNoError;
}

bool PipeWireTaps::isLinkedInto(const Device& device) const {
    return device.pair != nullptr && graph_.hasLinkInto(device.pair->captureNodeID());
}

void PipeWireTaps::directWhenLinked(Device& device) {
    if (device.startedProc == 0 || device.isDirected || !isLinkedOut(device))
        return;
    device.isDirected = true;
    device.workGivenAt = MainThread::Clock::now();
    director_.direct({.name = device.captureName,
                      .processes = device.processes,
                      .output = device.description.mainSubDevice,
                      .isOutputChosen = device.description.isMainSubDeviceChosen,
                      .followsDefault = device.targetSink.empty()});
}

OSStatus PipeWireTaps::destroyProc(AudioObjectID device, AudioDeviceIOProcID procID) {
    Device* found = find(device);
    if (found == nullptr || found->procs.erase(procID) == 0)
        return kAudioHardwareBadObjectError;
    if (found->startedProc == procID) {
        director_.release(found->captureName);
        if (found->pair != nullptr)
            found->pair->stop();
        found->startedProc = 0;
    }
    return kAudioHardwareNoError;
}

OSStatus PipeWireTaps::destroyDevice(AudioObjectID device) {
    const auto entry = devices_.find(device);
    if (entry == devices_.end())
        return kAudioHardwareBadObjectError;
    director_.release(entry->second.captureName);
    leaveOver(std::move(entry->second));
    devices_.erase(entry);
    makeWaitingPairs();
    startRetryTimer();
    return kAudioHardwareNoError;
}

OSStatus PipeWireTaps::destroyTap(AudioObjectID tap) {
    const bool wasKnown = taps_.erase(tap) != 0;
    pw_thread_loop_signal(connection_.threadLoop(), false);
    return wasKnown ? kAudioHardwareNoError : kAudioHardwareBadObjectError;
}

bool PipeWireTaps::isCapturing() const {
    return std::ranges::any_of(std::views::values(devices_),
                               [](const Device& device) { return device.startedProc != 0; });
}

std::optional<AudioStreamBasicDescription> PipeWireTaps::tapFormat(AudioObjectID tap) const {
    const auto found = taps_.find(tap);
    if (found == taps_.end())
        return std::nullopt;
    const auto device =
        std::ranges::find_if(devices_, [&](const auto& entry) { return entry.second.tap == tap; });
    const std::uint32_t channels =
        device != devices_.end() ? device->second.channels : found->second.channels;
    const auto bytesPerFrame = channels * static_cast<std::uint32_t>(sizeof(float));
    return AudioStreamBasicDescription{.mSampleRate = device != devices_.end() ? sampleRate(device->first)
                                                                               : expectedSampleRate({}),
                                       .mFormatID = kAudioFormatLinearPCM,
                                       .mFormatFlags = kAudioFormatFlagIsFloat | kAudioFormatFlagIsPacked,
                                       .mBytesPerPacket = bytesPerFrame,
                                       .mFramesPerPacket = 1,
                                       .mBytesPerFrame = bytesPerFrame,
                                       .mChannelsPerFrame = channels,
                                       .mBitsPerChannel = 32};
}

const AggregateDeviceDescription* PipeWireTaps::deviceDescription(AudioObjectID device) const {
    const Device* found = find(device);
    return found != nullptr ? &found->description : nullptr;
}

bool PipeWireTaps::isAlive(AudioObjectID device) const {
    const Device* found = find(device);
    return found != nullptr &&
           (isLinkedOut(*found) || MainThread::Clock::now() > found->madeAt + linkPatience);
}

bool PipeWireTaps::isConnected(AudioObjectID device) const {
    const Device* found = find(device);
    return found != nullptr && found->isDirected && isLinkedOut(*found) &&
           (isLinkedInto(*found) || !director_.hasStreams(found->captureName));
}

/// All channels: a device may refuse one of two, and then the other link is removed again.
bool PipeWireTaps::isLinkedOut(const Device& device) const {
    return device.pair != nullptr && graph_.hasLinksOutOf(device.pair->playbackNodeID(), device.channels);
}

double PipeWireTaps::expectedSampleRate(const std::string& outputName) const {
    for (const GraphSink* sink : {graph_.sinkNamed(outputName), graph_.defaultSink()})
        if (sink != nullptr && sink->sampleRate > 0)
            return sink->sampleRate;
    return usualSampleRate;
}

double PipeWireTaps::sampleRate(AudioObjectID device) const {
    const Device* found = find(device);
    if (found == nullptr)
        return usualSampleRate;
    const double negotiated = found->pair != nullptr ? found->pair->sampleRate() : 0;
    return negotiated > 0 ? negotiated : expectedSampleRate(found->description.mainSubDevice);
}

void PipeWireTaps::sampleRateChanged(AudioObjectID device) {
    Device* found = find(device);
    if (found == nullptr)
        return;
    const double current = sampleRate(device);
    if (std::exchange(found->announcedSampleRate, current) != current) {
        propertyChanged_(found->tap, kAudioTapPropertyFormat);
        propertyChanged_(device, kAudioDevicePropertyNominalSampleRate);
    }
}

std::uint32_t PipeWireTaps::channelsFor(const Tap& tap) const {
    const GraphSink* output = graph_.sinkNamed(tap.output);
    if (output != nullptr && output->channels == 1)
        return 1;
    bool isMono = false;
    for (const AudioObjectID process : tap.description.processes)
        if (const GraphClient* client = graph_.process(process))
            for (const GraphStream* stream : director_.streamsOf(*client)) {
                if (stream->channels != 1)
                    return 2;
                isMono = true;
            }
    return isMono ? 1 : 2;
}

std::optional<GraphLatency> PipeWireTaps::latencyFor(const std::vector<AudioObjectID>& processes) const {
    std::optional<GraphLatency> least;
    for (const AudioObjectID process : processes)
        if (const GraphClient* client = graph_.process(process))
            for (const GraphStream* stream : director_.streamsOf(*client))
                if (stream->latency && PipeWireGraph::isProducingOutput(*stream))
                    least = std::min(least.value_or(*stream->latency), *stream->latency);
    return least;
}

void PipeWireTaps::latencyChanged(const GraphStream& stream) {
    const GraphClient* client = graph_.processOfStream(stream);
    if (client == nullptr)
        return;
    for (auto& [id, device] : devices_) {
        if (device.pair == nullptr ||
            std::ranges::find(device.processes, client->objectID) == device.processes.end())
            continue;
        const auto latency = latencyFor(device.processes);
        // The server accepts a new value, but not the removal of the value.
        if (std::exchange(device.latency, latency) != latency)
            device.pair->setLatency(latency.value_or(usualLatency));
    }
}

void PipeWireTaps::streamsChanged() {
    // A mono tap is rebuilt when a stream or an output needs stereo. A stereo tap also serves mono.
    for (auto& [id, tap] : taps_) {
        if (tap.channels != 1 || channelsFor(tap) == 1)
            continue;
        tap.channels = 2;
        propertyChanged_(id, kAudioTapPropertyFormat);
    }
}

void PipeWireTaps::linksChanged() {
    linksChangedAt_ = MainThread::Clock::now();
    for (auto& [id, device] : devices_) {
        directWhenLinked(device);
        if (device.pair != nullptr && device.targetSink.empty() &&
            graph_.isLinkedToAnotherThanDefault(device.pair->playbackNodeID()))
            graph_.doubtMetadata();
        if (isLinkedOut(device)) {
            device.retryAt.reset();
            device.retryDelay = {};
        }
        if (const bool alive = isLinkedOut(device); std::exchange(device.wasAlive, alive) != alive)
            propertyChanged_(id, kAudioDevicePropertyDeviceIsAlive);
        if (const bool isRunning = isConnected(id);
            std::exchange(device.wasConnected, isRunning) != isRunning)
            propertyChanged_(id, kAudioDevicePropertyDeviceIsRunning);
    }
    dropLeftovers();
    makeWaitingPairs();
    startRetryTimer();
    pw_thread_loop_signal(connection_.threadLoop(), false);
}

void PipeWireTaps::connectionLost() {
    leftovers_.clear();
    devices_.clear();
    taps_.clear();
    pw_thread_loop_signal(connection_.threadLoop(), false);
}

} // namespace vello
