// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireDirectedStreams.h"
#include "PipeWireStaleRedirects.h"
#include "PipeWireStreamRights.h"
#include "Platform/Linux/PipeWire/RedirectKeeper.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace vello {

class PipeWireGraph;

/// Directs the playback streams of processes to captures, through the session manager's metadata, and
/// restores them.
///
/// A stream's own target (the output that the user chose in a mixer, or that the session manager restored) is
/// kept, written again beside ours where the session manager would otherwise forget it, and restored on
/// release. The control loop's lock guards all of it.
class PipeWireStreamDirector {
public:
    using PropertyChanged = std::function<void(AudioObjectID, FourCharCode selector)>;

    /// `propertyChanged` is called for changes of the processes and of the exempt streams. `keeper` may be
    /// null; it records which streams are directed, and can suspend the redirects.
    PipeWireStreamDirector(PipeWireGraph& graph, PropertyChanged propertyChanged,
                           RedirectKeeper* keeper = nullptr);
    PipeWireStreamDirector(const PipeWireStreamDirector&) = delete;
    PipeWireStreamDirector& operator=(const PipeWireStreamDirector&) = delete;

    /// `action` runs when the first stream is directed, with the lock held.
    void setOnFirstDirected(std::function<void()> action) { onFirstDirected_ = std::move(action); }
    bool isDirecting() const { return !directed_.isEmpty(); }
    /// Directs all current and future streams of the processes to the capture, except exempt ones. When a
    /// process has several captures, the newest one receives its streams.
    void direct(PipeWireCapture capture);
    /// Moves the streams that are still directed to this capture to the newest other capture of their
    /// process, or restores them.
    void release(const std::string& captureName);
    /// Whether an existing stream is directed to this capture, linked or not.
    bool hasStreams(const std::string& captureName) const { return directed_.hasStreamsOf(captureName); }
    /// Which streams are directed, and which are left untouched.
    const PipeWireStreamRights& rights() const { return rights_; }

    void streamDescribed(const GraphStream& stream);
    void streamRunningChanged(const GraphStream& stream);
    void streamVanished(std::uint32_t nodeID);
    /// Call when something changes that exemptions or destinations depend on, such as the outputs.
    void reconsider();
    void targetChanged(std::uint32_t nodeID, const std::string& key,
                       const std::optional<MetadataValue>& value);
    /// Call when all metadata has been read. Removes the redirects of a previous run that died, and directs
    /// again what the session manager has forgotten.
    void metadataKnown();
    /// Call when the guard has finished restoring the streams: directs them again.
    void directAgain();
    /// Call when the connection is lost, and all streams with it.
    void reset();

private:
    void reconsider(const GraphStream& stream);
    void noteExemption(const GraphStream& stream, StreamExemption now);
    void direct(std::uint32_t nodeID, const std::string& captureName);
    void giveBack(std::uint32_t nodeID);
    void write(std::uint32_t nodeID, DirectedStream& stream);
    void userMoved(std::uint32_t nodeID);
    void announceDevices(const GraphStream& stream);
    bool isGivenUp() const { return keeper_ != nullptr && keeper_->isGivenUp(); }
    void released(std::uint32_t nodeID);

    PipeWireGraph& graph_;
    PropertyChanged propertyChanged_;
    std::function<void()> onFirstDirected_;
    RedirectKeeper* keeper_;
    PipeWireDirectedStreams directed_;
    PipeWireStreamRights rights_;
    PipeWireStaleRedirects stale_;
    std::map<std::uint32_t, StreamExemption> exemptions_; ///< as last reported
};

} // namespace vello
