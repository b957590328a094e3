// SPDX-License-Identifier: Apache-2.0
#include "PipeWireHeartbeat.h"

#include "Foundation/Product.h"
#include "Platform/Linux/PipeWire/FreezeJudge.h"

#include <utility>

#include <pipewire/pipewire.h>

namespace vello {

using namespace std::chrono_literals;

namespace {

/// Interval of the beats after a freeze; short, so that the streams are captured again soon.
constexpr auto kResumingPeriod = 100ms;

} // namespace

PipeWireHeartbeat::PipeWireHeartbeat(MainThread& mainThread, PipeWireConnection& connection,
                                     PipeWireRedirectGuard& guard, SystemLog& log, Work work)
    : mainThread_(mainThread), connection_(connection), guard_(guard),
      logger_(log, kBundleIdentifier, "PipeWire"), work_(std::move(work)) {}

PipeWireHeartbeat::~PipeWireHeartbeat() {
    guard_.watch(false);
}

void PipeWireHeartbeat::start() {
    mainThread_.post([this, weak = std::weak_ptr(alive_)] {
        if (!weak.expired() && !nextBeat_)
            beat();
    });
}

void PipeWireHeartbeat::beat() {
    guard_.beatOnMainThread();
    const PipeWireLock lock(connection_);
    const bool isCapturing = work_.isCapturing();
    guard_.watch(isCapturing);
    askDataThread();
    resume();
    nextBeat_.reset();
    if (isCapturing)
        nextBeat_ = mainThread_.after(beatsWhenGivenUp_ ? MainThread::Duration(kResumingPeriod)
                                                        : FreezeJudge::beatPeriod,
                                      [this] { beat(); });
}

void PipeWireHeartbeat::askDataThread() {
    const auto beats = guard_.beatsOnDataThread();
    if (beatsWhenAsked_ == beats)
        return;
    beatsWhenAsked_ = beats;
    pw_data_loop_invoke(connection_.dataLoop(), answer, 0, nullptr, 0, false, &guard_);
}

int PipeWireHeartbeat::answer(spa_loop*, bool, std::uint32_t, const void*, std::size_t, void* guard) {
    static_cast<PipeWireRedirectGuard*>(guard)->beatOnDataThread();
    return 0;
}

void PipeWireHeartbeat::resume() {
    if (!guard_.mayTakeAgain())
        return;
    const auto beats = guard_.beatsOnDataThread();
    if (!beatsWhenGivenUp_)
        beatsWhenGivenUp_ = beats;
    if (*beatsWhenGivenUp_ == beats)
        return;
    beatsWhenGivenUp_.reset();
    logger_.notice("Was frozen for a while, and the applications were heard directly; equalizing them again");
    guard_.takeAgain();
    work_.takeStreamsAgain();
}

} // namespace vello
