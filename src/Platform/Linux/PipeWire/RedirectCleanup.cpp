// SPDX-License-Identifier: Apache-2.0
#include "RedirectCleanup.h"

#include "PipeWireQuirks.h"

#include <algorithm>
#include <utility>

#include <pipewire/thread-loop.h>

namespace vello {

using namespace std::chrono_literals;

namespace {

constexpr int kServerPatienceSeconds = 2;
/// How long the session manager may take to move the streams.
constexpr auto kMovePatience = 300ms;

} // namespace

RedirectCleanup::RedirectCleanup(std::string remoteName)
    : connection_(*this, log_, std::move(remoteName), PipeWireConnection::Purpose::watching),
      graph_(
          *this, [] { return kAudioObjectSystemObject; }, connection_.loop()),
      redirects_(graph_, [](const GraphStream&) { return false; }) {
    connection_.start();
}

RedirectCleanup::~RedirectCleanup() {
    connection_.stop();
}

void RedirectCleanup::awaitMirror() {
    PipeWireLock lock(connection_);
    connection_.sync();
    while (connection_.core() != nullptr && !isMirrored_)
        if (pw_thread_loop_timed_wait(connection_.threadLoop(), kServerPatienceSeconds) != 0)
            break;
}

void RedirectCleanup::giveBack(const std::vector<std::uint32_t>& directed) {
    const std::lock_guard turn(oneAtATime_);
    PipeWireLock lock(connection_);
    captured_ = redirects_.streams(directed);
    stage_ = Stage::clearing;
    const auto asked = std::chrono::steady_clock::now();
    const bool isSilenceAhead = !areMoved();
    redirects_.takeBack(captured_);
    connection_.sync();
    while (stage_ != Stage::done)
        if (pw_thread_loop_timed_wait(connection_.threadLoop(), kServerPatienceSeconds) != 0)
            break;
    stage_ = Stage::following;
    connection_.waitUntil(asked + kMovePatience, [this] { return areMoved(); });
    if (isSilenceAhead)
        connection_.waitUntil(std::chrono::steady_clock::now() + quirks::kSettleTime, [] { return false; });
}

bool RedirectCleanup::areMoved() const {
    return std::ranges::all_of(captured_, [this](std::uint32_t nodeID) {
        return graph_.streams().withNodeID(nodeID) == nullptr || graph_.isLinkedToSink(nodeID);
    });
}

void RedirectCleanup::linksChanged() {
    pw_thread_loop_signal(connection_.threadLoop(), false);
}

void RedirectCleanup::synchronized() {
    graph_.metadata().answered();
    if (!graph_.metadata().isBeingRead() && !std::exchange(isMirrored_, true))
        pw_thread_loop_signal(connection_.threadLoop(), false);
    if (stage_ == Stage::following)
        return;
    if (stage_ == Stage::clearing) {
        // Clearing the known redirects was fast. A new read of the metadata finds the missed ones.
        stage_ = Stage::asking;
        graph_.metadata().read();
        return connection_.sync();
    }
    redirects_.takeBack();
    if (graph_.metadata().isBeingRead())
        return;
    redirects_.rewriteChoices();
    stage_ = stage_ == Stage::asking ? Stage::clearingMissed : Stage::done;
    connection_.sync();
    pw_thread_loop_signal(connection_.threadLoop(), false);
}

} // namespace vello
