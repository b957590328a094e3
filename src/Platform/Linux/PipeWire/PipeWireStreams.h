// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireGraphObserver.h"
#include "PipeWireTimer.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

struct pw_loop;
struct pw_registry;
struct spa_dict;

namespace vello {

class PipeWireClients;
class PipeWireLinks;

/// The mirror's playback streams. Reports the end of a stream with a delay, because a stream that is
/// relinked leaves the running state for a moment (see the quirks). The control loop's lock guards all of it.
class PipeWireStreams {
public:
    /// `clients` is notified of the streams, `links` says which of them are linked. `loop` is the control
    /// loop.
    PipeWireStreams(PipeWireGraphObserver& observer, std::function<AudioObjectID()> nextObjectID,
                    pw_loop* loop, PipeWireClients& clients, const PipeWireLinks& links);
    ~PipeWireStreams();
    PipeWireStreams(const PipeWireStreams&) = delete;
    PipeWireStreams& operator=(const PipeWireStreams&) = delete;

    /// Ignores a stream whose client is unknown.
    void add(pw_registry* registry, std::uint32_t nodeID, const spa_dict& properties);
    /// The node must be one of the streams.
    void remove(std::uint32_t nodeID);
    /// Drops everything without a notification.
    void clear();
    /// Call when a link out of a node was added or removed; the node may be any node.
    void linksChanged(std::uint32_t nodeID);

    /// All streams in order of appearance; ofClient() uses the same order.
    std::vector<const GraphStream*> all() const;
    std::vector<const GraphStream*> ofClient(const GraphClient& client) const;
    const GraphStream* withNodeID(std::uint32_t nodeID) const;
    const GraphStream* withObjectID(AudioObjectID objectID) const;

private:
    struct Entry;

    void propertiesKnown(Entry& entry, const spa_dict& properties);
    void formatKnown(Entry& entry, bool isRaw, std::uint32_t channels);
    void describe(Entry& entry);
    void describeUnanswered();
    void stateChanged(Entry& entry, bool isRunning);
    void reportEnded();
    /// Time from which a stopped stream counts as ended.
    MainThread::Instant countsAsEndedAt(const GraphStream& stream) const;
    bool isBeingLinked(const GraphStream& stream) const;
    void reportRunning(const GraphStream& stream);

    PipeWireGraphObserver& observer_;
    std::function<AudioObjectID()> nextObjectID_;
    PipeWireTimer endedTimer_;
    PipeWireTimer answerTimer_;
    PipeWireClients& clients_;
    const PipeWireLinks& links_;
    std::map<std::uint32_t, std::unique_ptr<Entry>> streams_;
};

} // namespace vello
