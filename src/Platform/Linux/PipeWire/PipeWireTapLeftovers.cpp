// SPDX-License-Identifier: Apache-2.0
#include "PipeWireTapLeftovers.h"

#include "PipeWireGraph.h"
#include "PipeWireQuirks.h"

#include <algorithm>
#include <malloc.h>
#include <utility>

namespace vello {

using namespace std::chrono_literals;

namespace {

/// A session manager that is still working on a node when the node vanishes waits for it for 20 seconds, and
/// makes no other links meanwhile (WirePlumber 0.4). So a node that was given up stays for longer than the
/// session manager would wait for it.
constexpr auto kLeftoverPatience = 30s;

} // namespace

void PipeWireTapLeftovers::add(std::unique_ptr<PipeWireTapPair> pair, MainThread::Instant workGivenAt,
                               bool wasLinked) {
    pair->stop();
    leftovers_.push_back({std::move(pair), workGivenAt, wasLinked, MainThread::Clock::now()});
}

MainThread::Instant PipeWireTapLeftovers::dropAt(const Leftover& leftover) const {
    if (leftover.wasLinked || leftover.pair->isLinkedOut(graph_))
        return leftover.destroyedAt + quirks::kSettleTime;
    return std::max(graph_.links().changedAt(), leftover.workGivenAt) + kLeftoverPatience;
}

void PipeWireTapLeftovers::drop() {
    const auto now = MainThread::Clock::now();
    const auto dropped =
        std::erase_if(leftovers_, [&](const Leftover& leftover) { return now >= dropAt(leftover); });
    // The audio library's freed blocks lie between others, so the heap would keep their pages.
    if (dropped > 0 && leftovers_.empty())
        ::malloc_trim(0);
}

bool PipeWireTapLeftovers::hasCapture(const std::string& name) const {
    return std::ranges::any_of(
        leftovers_, [&](const Leftover& leftover) { return leftover.pair->captureName() == name; });
}

std::optional<MainThread::Instant> PipeWireTapLeftovers::nextDropAt() const {
    std::optional<MainThread::Instant> next;
    for (const Leftover& leftover : leftovers_)
        next = std::min(next.value_or(dropAt(leftover)), dropAt(leftover));
    return next;
}

MainThread::Instant PipeWireTapLeftovers::settledAt() const {
    MainThread::Instant settled{};
    for (const Leftover& leftover : leftovers_)
        if (leftover.wasLinked)
            settled = std::max(settled, dropAt(leftover));
    return settled;
}

} // namespace vello
