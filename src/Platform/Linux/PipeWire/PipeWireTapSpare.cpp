// SPDX-License-Identifier: Apache-2.0
#include "PipeWireTapSpare.h"

#include "Foundation/Product.h"
#include "Foundation/RandomUUID.h"
#include "PipeWireConnection.h"
#include "PipeWireGraph.h"

#include <utility>

namespace vello {

using namespace std::chrono_literals;

namespace {

/// The pair is made when no link has changed for so long, because the session manager links one after the
/// other, and the streams of applications come first.
constexpr auto kMakePause = 100ms;
/// A pair is usually linked within this time.
constexpr auto kLinkTime = 200ms;
/// The session manager has given up a pair that is not linked after this time.
constexpr auto kRefusedAfter = 10s;

} // namespace

PipeWireTapSpare::PipeWireTapSpare(PipeWireConnection& connection, const PipeWireTapDevice::Context& context,
                                   PipeWireTapLeftovers& leftovers, FreeCaptureName freeCaptureName)
    : connection_(connection), context_(context), leftovers_(leftovers),
      freeCaptureName_(std::move(freeCaptureName)), timer_(connection.loop(), [this] { provide(); }) {}

void PipeWireTapSpare::setWanted(bool isWanted) {
    isWanted_ = isWanted;
    if (isWanted)
        provide();
    else
        leaveOver();
}

bool PipeWireTapSpare::isReady() const {
    return pair_ != nullptr && pair_->isLinkedOut(context_.graph);
}

std::unique_ptr<PipeWireTapPair> PipeWireTapSpare::take(std::uint32_t channels) {
    const bool isSoonReady =
        pair_ != nullptr && pair_->hasNodes() && MainThread::Clock::now() < madeAt_ + kLinkTime;
    if (channels != channels_ || !(isReady() || isSoonReady))
        return nullptr;
    timer_.start(kMakePause);
    pair_->setActive(true);
    return std::move(pair_);
}

void PipeWireTapSpare::clear() {
    pair_.reset();
    wasReady_ = false;
    timer_.start(kMakePause);
}

void PipeWireTapSpare::linksChanged() {
    if (const bool isNow = isReady(); std::exchange(wasReady_, isNow) != isNow) {
        if (isNow)
            pair_->setActive(false);
        context_.propertyChanged(kAudioObjectSystemObject, kAudioHardwarePropertySpareDevice);
    }
    if (isWanted_ && !isGood())
        timer_.start(kMakePause);
}

bool PipeWireTapSpare::hasCapture(const std::string& name) const {
    return pair_ != nullptr && pair_->captureName() == name;
}

void PipeWireTapSpare::provide() {
    if (!isWanted_ || isGood())
        return;
    leaveOver();
    if (connection_.nodeCore() != nullptr)
        make();
    else
        timer_.start(kMakePause);
}

void PipeWireTapSpare::make() {
    const std::string name = freeCaptureName_(std::string(kTapNamePrefix) + "spare");
    channels_ = usualChannels();
    madeAt_ = MainThread::Clock::now();
    pair_ = std::make_unique<PipeWireTapPair>(connection_.nodeCore(),
                                              PipeWireTapPair::Description{.captureName = name,
                                                                           .playbackName = name + "-output",
                                                                           .group = randomUUID(),
                                                                           .targetSink = {},
                                                                           .channels = channels_},
                                              context_.missedCycles, [] {});
    if (!pair_->isConnected())
        pair_.reset();
    timer_.start(kRefusedAfter + 1ms);
}

void PipeWireTapSpare::leaveOver() {
    const bool wasLinked = isReady();
    if (pair_ != nullptr)
        leftovers_.add(std::move(pair_), madeAt_, wasLinked);
}

bool PipeWireTapSpare::isGood() const {
    const bool isWaiting =
        context_.graph.defaultSink() == nullptr || MainThread::Clock::now() < madeAt_ + kRefusedAfter;
    return pair_ != nullptr && channels_ == usualChannels() && (isReady() || isWaiting);
}

std::uint32_t PipeWireTapSpare::usualChannels() const {
    const GraphSink* output = context_.graph.defaultSink();
    return context_.formats.channels({}, output != nullptr ? output->name : std::string{});
}

} // namespace vello
