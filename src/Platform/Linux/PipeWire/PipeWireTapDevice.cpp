// SPDX-License-Identifier: Apache-2.0
#include "PipeWireTapDevice.h"

#include "PipeWireGraph.h"
#include "PipeWireStreamDirector.h"
#include "TargetValues.h"

#include <algorithm>
#include <utility>

namespace vello {

using namespace std::chrono_literals;

namespace {

/// How long a device may take to be linked. The session manager needs seconds for dozens of taps at once. A
/// device that is late counts as alive, and its streams are directed to it when it is linked.
constexpr auto kLinkPatience = 1s;
/// The server's default for a node that requests no latency, unless it is configured otherwise.
constexpr GraphLatency kUsualLatency{1024, 48000};

bool sharesOne(const std::vector<AudioObjectID>& left, const std::vector<AudioObjectID>& right) {
    return std::ranges::find_first_of(left, right) != left.end();
}

} // namespace

PipeWireTapDevice::PipeWireTapDevice(const Context& context, AudioObjectID id,
                                     AggregateDeviceDescription description, AudioObjectID tap,
                                     const ProcessTap& tapped)
    : context_(context), id_(id), description_(std::move(description)), tap_(tap),
      processes_(tapped.description.processes), channels_(tapped.channels) {}

bool PipeWireTapDevice::captures(AudioObjectID process) const {
    return std::ranges::find(processes_, process) != processes_.end();
}

bool PipeWireTapDevice::isSuccessorOf(const PipeWireTapDevice& older) const {
    return tap_ > older.tap_ && sharesOne(processes_, older.processes_);
}

bool PipeWireTapDevice::isSucceededBy(AudioObjectID tap, const TapDescription& newer) const {
    return tap > tap_ && sharesOne(newer.processes, processes_);
}

// The callback

void PipeWireTapDevice::addProc(AudioDeviceIOProcID procID, AudioDeviceIOProc function, void* clientData) {
    procs_[procID] = {function, clientData};
}

void PipeWireTapDevice::removeProc(AudioDeviceIOProcID procID) {
    procs_.erase(procID);
    if (startedProc_ != procID)
        return;
    release();
    stop();
}

void PipeWireTapDevice::start(AudioDeviceIOProcID procID) {
    startedProc_ = procID;
    if (pair_ != nullptr)
        startPair();
    directWhenLinked();
}

void PipeWireTapDevice::stop() {
    silencePair();
    startedProc_ = 0;
}

void PipeWireTapDevice::startPair() {
    const Proc& proc = procs_.at(startedProc_);
    pair_->start(id_, proc.function, proc.clientData);
}

// The streams

void PipeWireTapDevice::release() {
    context_.director.release(captureName());
}

void PipeWireTapDevice::directWhenLinked() {
    if (startedProc_ == 0 || isDirected_ || !isLinkedOut())
        return;
    isDirected_ = true;
    workGivenAt_ = MainThread::Clock::now();
    context_.director.direct({.name = captureName(),
                              .processes = processes_,
                              .output = description_.mainSubDevice,
                              .isOutputChosen = description_.isMainSubDeviceChosen,
                              .followsDefault = followsDefault()});
    restWithoutStreams();
}

bool PipeWireTapDevice::hasStreams() const {
    return context_.director.hasStreams(captureName());
}

// The pair

void PipeWireTapDevice::makePair(pw_core* core, const std::string& captureName,
                                 std::function<void()> sampleRateChanged) {
    target_ = targetSink();
    latency_ = context_.formats.latency(processes_);
    announcedSampleRate_ = sampleRate();
    workGivenAt_ = MainThread::Clock::now();
    pair_ = std::make_unique<PipeWireTapPair>(
        core,
        PipeWireTapPair::Description{.captureName = captureName,
                                     .playbackName = captureName + "-output",
                                     .group = description_.uid,
                                     .targetSink = target_,
                                     .channels = channels_,
                                     .latency = latency_},
        context_.missedCycles, std::move(sampleRateChanged));
    if (startedProc_ != 0)
        startPair();
}

void PipeWireTapDevice::adoptPair(PipeWireTapDevice& predecessor, std::function<void()> sampleRateChanged) {
    if (predecessor.startedProc_ == 0 || !predecessor.isDirected_ || predecessor.channels_ != channels_)
        return;
    predecessor.adopter_ = id_;
    continuesPredecessor_ = true;
    target_ = predecessor.target_;
    latency_ = predecessor.latency_;
    workGivenAt_ = predecessor.workGivenAt_;
    usePair(std::move(predecessor.pair_), std::move(sampleRateChanged));
}

void PipeWireTapDevice::useSparePair(std::unique_ptr<PipeWireTapPair> pair,
                                     std::function<void()> sampleRateChanged) {
    workGivenAt_ = MainThread::Clock::now();
    pair->setDescription(description_.name);
    usePair(std::move(pair), std::move(sampleRateChanged));
    if (startedProc_ == 0)
        return;
    startPair();
    directWhenLinked();
}

void PipeWireTapDevice::usePair(std::unique_ptr<PipeWireTapPair> pair,
                                std::function<void()> sampleRateChanged) {
    pair_ = std::move(pair);
    pair_->setSampleRateChanged(std::move(sampleRateChanged));
    wasLinkedOut_ = isLinkedOut();
    announcedSampleRate_ = sampleRate();
    moveToTarget();
    latencyChanged();
}

void PipeWireTapDevice::moveToTarget() {
    if (const std::string target = targetSink(); std::exchange(target_, target) == target)
        return;
    workGivenAt_ = MainThread::Clock::now();
    context_.graph.metadata().setTarget(pair_->playbackNodeID(), kTargetObjectKey,
                                        targetByName(followsDefault() ? kFollowsDefault : target_));
}

void PipeWireTapDevice::silencePair() {
    if (pair_ != nullptr)
        pair_->stop();
}

std::string PipeWireTapDevice::targetSink() const {
    const GraphSink* defaultSink = context_.graph.defaultSink();
    const bool isDefault = defaultSink != nullptr && defaultSink->name == description_.mainSubDevice;
    return isDefault && !description_.isMainSubDeviceChosen ? std::string{} : description_.mainSubDevice;
}

bool PipeWireTapDevice::isWorkedOn() const {
    return pair_ != nullptr && MainThread::Clock::now() <= workGivenAt_ + workPatience &&
           (!isLinkedOut() || !hasItsStreams());
}

bool PipeWireTapDevice::isAlive() const {
    return isLinkedOut() || MainThread::Clock::now() > madeAt_ + kLinkPatience;
}

bool PipeWireTapDevice::isConnected() const {
    return isDirected_ && isLinkedOut() && hasItsStreams();
}

bool PipeWireTapDevice::isRefused() const {
    return pair_ != nullptr && !isLinkedOut() && context_.graph.defaultSink() != nullptr;
}

void PipeWireTapDevice::giveUp(MainThread::Instant now) {
    // Playing the applications unequalized is better than silence.
    release();
    isDirected_ = false;
    retry_.giveUp(now);
}

double PipeWireTapDevice::sampleRate() const {
    const double negotiated = pair_ != nullptr ? pair_->sampleRate() : 0;
    return negotiated > 0 ? negotiated : context_.formats.sampleRate(description_.mainSubDevice);
}

// Changes of the graph

void PipeWireTapDevice::linksChanged() {
    directWhenLinked();
    if (pair_ != nullptr && followsDefault() &&
        context_.graph.isLinkedToAnotherThanDefault(pair_->playbackNodeID()))
        context_.graph.metadata().doubt();
    if (isLinkedOut())
        retry_.linked();
    restWithoutStreams();
    reportLinks();
}

/// A pair at rest costs nothing in the cycles of its output device, and is moved to another one unheard by
/// what plays there. It runs again when a stream appears, before anything plays into it.
void PipeWireTapDevice::restWithoutStreams() {
    if (isDirected_ && isLinkedOut())
        pair_->setActive(isLinkedInto() || context_.formats.haveStreams(processes_));
}

void PipeWireTapDevice::reportLinks() {
    if (const bool isLinked = isLinkedOut(); std::exchange(wasLinkedOut_, isLinked) != isLinked)
        context_.propertyChanged(id_, kAudioDevicePropertyDeviceIsAlive);
    if (const bool isNow = isConnected(); std::exchange(wasConnected_, isNow) != isNow)
        context_.propertyChanged(id_, kAudioDevicePropertyDeviceIsRunning);
}

void PipeWireTapDevice::sampleRateChanged() {
    const double current = sampleRate();
    if (std::exchange(announcedSampleRate_, current) == current)
        return;
    context_.propertyChanged(tap_, kAudioTapPropertyFormat);
    context_.propertyChanged(id_, kAudioDevicePropertyNominalSampleRate);
}

void PipeWireTapDevice::latencyChanged() {
    if (pair_ == nullptr)
        return;
    const auto current = context_.formats.latency(processes_);
    // The server accepts a new value, but not the removal of the value.
    if (std::exchange(latency_, current) != current)
        pair_->setLatency(current.value_or(kUsualLatency));
}

} // namespace vello
