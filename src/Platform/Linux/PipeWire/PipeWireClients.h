// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireGraphObserver.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

struct pw_registry;
struct spa_dict;

namespace vello {

/// The mirror's clients, and which of them are process objects. The control loop's lock guards all of it.
class PipeWireClients {
public:
    PipeWireClients(PipeWireGraphObserver& observer, std::function<AudioObjectID()> nextObjectID);
    ~PipeWireClients();
    PipeWireClients(const PipeWireClients&) = delete;
    PipeWireClients& operator=(const PipeWireClients&) = delete;

    void add(std::uint32_t clientID);
    void remove(std::uint32_t clientID);
    /// Drops everything without a notification.
    void clear();
    /// Call for each new stream of a known client. With the first one the client gets its object ID, and its
    /// description is requested from the server.
    void streamAdded(pw_registry* registry, std::uint32_t clientID);
    void streamDescribed(const GraphStream& stream);
    void streamRemoved(const GraphStream& stream);
    void setDownmix(AudioObjectID process, bool downmixes);

    /// Clients that are process objects now, in order of appearance.
    std::vector<const GraphClient*> processes() const;
    /// Null when the client is not a process object now.
    const GraphClient* process(AudioObjectID objectID) const;
    const GraphClient* withClientID(std::uint32_t clientID) const;
    const GraphClient* ownerOf(const GraphStream& stream) const { return withClientID(stream.clientID); }

private:
    struct Entry;

    void propertiesKnown(GraphClient& client, const spa_dict& properties);
    /// Changes the client, and reports a change of the list of process objects.
    template <class Change> void update(GraphClient& client, Change change);
    GraphClient* find(std::uint32_t clientID);

    PipeWireGraphObserver& observer_;
    std::function<AudioObjectID()> nextObjectID_;
    std::map<std::uint32_t, std::unique_ptr<Entry>> clients_;
};

} // namespace vello
