// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireGraphObserver.h"
#include "PipeWireTimer.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

struct pw_loop;
struct pw_registry;

namespace vello {

/// The mirror of the session manager's metadata: the default output, and the targets of nodes. The control
/// loop's lock guards all of it.
class PipeWireMetadata {
public:
    /// `loop` is the control loop.
    PipeWireMetadata(PipeWireGraphObserver& observer, pw_loop* loop);
    ~PipeWireMetadata();
    PipeWireMetadata(const PipeWireMetadata&) = delete;
    PipeWireMetadata& operator=(const PipeWireMetadata&) = delete;

    /// The metadata object has appeared: reads its values. `registry` must live until remove or clear.
    void add(pw_registry* registry, std::uint32_t id);
    /// The metadata object is gone, and the session manager with it. False when it has another ID.
    bool remove(std::uint32_t id);
    /// Drops everything without a notification.
    void clear();

    /// Node name of the default output; empty while there is none.
    const std::string& defaultSinkName() const { return defaultSinkName_; }
    std::optional<MetadataValue> target(std::uint32_t nodeID, const std::string& key) const;
    /// Whether the metadata never held any key but targets for a node.
    bool hasOnlyTargets(std::uint32_t nodeID) const;

    /// Requests all values again, in case a change was missed.
    void read();
    /// Schedules a new read of all values: a change may have been missed, or the session manager's links
    /// contradict them.
    void doubt();
    /// Whether a read is in progress.
    bool isBeingRead() const;
    /// Call when all values have arrived. Returns true for the first complete read of this metadata object,
    /// false for a later check.
    bool answered();

    /// Writes or removes a node's target. Does nothing while there is no metadata.
    void setTarget(std::uint32_t nodeID, const std::string& key, const std::optional<MetadataValue>& value);
    /// Removes all metadata of a node.
    void clearNode(std::uint32_t nodeID);
    /// Call when the node has vanished. The server removes its targets without a notification, and reuses its
    /// ID.
    void forgetTargets(std::uint32_t nodeID);

private:
    struct Object;

    static int onProperty(void* data, std::uint32_t subject, const char* key, const char* type,
                          const char* value);
    void bind();
    void propertyChanged(std::uint32_t subject, const char* key, const char* type, const char* value);
    void targetAnswered(std::uint32_t subject, const std::string& key,
                        const std::optional<MetadataValue>& value);
    void removeUnansweredTargets();
    void setDefaultSinkName(std::string name);
    void readDoubted();

    PipeWireGraphObserver& observer_;
    PipeWireTimer doubtTimer_;
    /// a change may have been missed; the timer is armed
    bool isDoubted_ = false;
    std::unique_ptr<Object> object_;
    std::string defaultSinkName_;
};

} // namespace vello
