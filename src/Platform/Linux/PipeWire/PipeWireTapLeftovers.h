// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireTapPair.h"
#include "Ports/MainThread.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vello {

class PipeWireGraph;

/// Pairs that were destroyed before the graph or the session manager had finished with them. They are kept
/// for a while, without a callback. The control loop's lock guards all of it.
class PipeWireTapLeftovers {
public:
    explicit PipeWireTapLeftovers(const PipeWireGraph& graph) : graph_(graph) {}

    /// Stops the pair and keeps it. `workGivenAt` is when the session manager last received work for it.
    void add(std::unique_ptr<PipeWireTapPair> pair, MainThread::Instant workGivenAt, bool wasLinked);
    /// Destroys the pairs that the graph and the session manager have finished with.
    void drop();
    void clear() { leftovers_.clear(); }

    bool hasCapture(const std::string& name) const;
    /// When the next pair may go, if nothing changes until then; absent when there is no pair.
    std::optional<MainThread::Instant> nextDropAt() const;
    /// When the streams of all pairs are audible at their new place.
    MainThread::Instant settledAt() const;

private:
    struct Leftover {
        std::unique_ptr<PipeWireTapPair> pair;
        MainThread::Instant workGivenAt;
        bool wasLinked;
        MainThread::Instant destroyedAt;
    };

    MainThread::Instant dropAt(const Leftover& leftover) const;

    const PipeWireGraph& graph_;
    std::vector<Leftover> leftovers_;
};

} // namespace vello
