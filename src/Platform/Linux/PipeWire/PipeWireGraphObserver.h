// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "GraphObjects.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vello {

/// Notified of changes, on the control loop's thread with its lock held.
class PipeWireGraphObserver {
public:
    virtual ~PipeWireGraphObserver() = default;
    virtual void propertyChanged(AudioObjectID object, FourCharCode selector) = 0;
    /// The stream became described, or its description changed.
    virtual void streamDescribed(const GraphStream& stream) = 0;
    virtual void streamVanished(std::uint32_t nodeID) = 0;
    /// A stream started to run, or has stopped for longer than a relink takes.
    virtual void streamRunningChanged(const GraphStream& stream) = 0;
    virtual void linksChanged() = 0;
    /// The metadata can be written, and its current values follow. Respond with PipeWireMetadata::answered
    /// once the server has answered all requests sent so far.
    virtual void metadataRequested() = 0;
    /// The session manager has ended, and with it the metadata and every link that it had made.
    virtual void sessionManagerGone() = 0;
    /// The target of a node changed in the metadata; `value` is absent when the target was removed.
    virtual void targetChanged(std::uint32_t nodeID, const std::string& key,
                               const std::optional<MetadataValue>& value) = 0;
};

} // namespace vello
