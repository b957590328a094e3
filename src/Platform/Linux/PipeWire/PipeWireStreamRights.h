// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "GraphObjects.h"

#include <string>
#include <utility>
#include <vector>

namespace vello {

class PipeWireDirectedStreams;
class PipeWireGraph;

/// A capture that streams of processes are directed to.
struct PipeWireCapture {
    std::string name; ///< of the node
    std::vector<AudioObjectID> processes;
    std::string output; ///< node name of the device that the capture plays on
    /// The user chose that device for all streams of the processes; otherwise the capture plays where the
    /// application plays.
    bool isOutputChosen = false;
    /// The capture plays on the current default output.
    bool followsDefault = false;
};

/// Decides which streams are directed to which captures, and which are left untouched. The control loop's
/// lock guards all of it.
class PipeWireStreamRights {
public:
    PipeWireStreamRights(const PipeWireGraph& graph, const PipeWireDirectedStreams& directed)
        : graph_(graph), directed_(directed) {}

    /// When a process has several captures, the newest one receives its streams. Replaces a capture of the
    /// same name.
    void addCapture(PipeWireCapture capture);
    void removeCapture(const std::string& name);
    void clearCaptures() { captures_.clear(); }

    /// The device that a stream plays on, or would play on, without us; null without any output.
    const GraphSink* destination(const GraphStream& stream) const;
    /// The streams of a process that are not exempt by themselves; streams that produce output come first.
    std::vector<const GraphStream*> streamsOf(const GraphClient& client) const;
    bool isProducingOutput(const GraphClient& client) const;
    /// Why the stream is left untouched.
    StreamExemption exemption(const GraphStream& stream) const;
    /// The newest capture of the stream's process; null when there is none.
    const PipeWireCapture* captureOfProcess(const GraphStream& stream) const;
    /// The capture that the stream must be directed to; null when there is none, or the stream is exempt.
    const PipeWireCapture* captureFor(const GraphStream& stream) const;

private:
    /// Why the stream is left untouched, regardless of where its application's tap plays.
    StreamExemption ownExemption(const GraphStream& stream) const;
    bool isPinnedElsewhere(const GraphStream& stream) const;
    const GraphSink* deviceOf(const PipeWireCapture& capture) const;
    /// Whether this is the first stream of the capture's processes; the next capture plays on its device.
    bool isFollowed(const GraphStream& stream, const PipeWireCapture& capture) const;

    const PipeWireGraph& graph_;
    const PipeWireDirectedStreams& directed_;
    std::vector<PipeWireCapture> captures_;
};

} // namespace vello
