// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireConnection.h"
#include "PipeWireGraph.h"
#include "PipeWireStaleRedirects.h"

#include <mutex>
#include <string>
#include <vector>

namespace vello {

/// Mirrors the targets of the streams, so that it can remove the redirects without a request first. The
/// session manager then moves the streams before it learns of the captures' end, and moves them only once.
class RedirectCleanup final : private PipeWireConnectionHandler, private PipeWireGraphObserver {
public:
    explicit RedirectCleanup(std::string remoteName);
    ~RedirectCleanup() override;

    /// Returns when the mirror matches the server, or soon when there is no server.
    void awaitMirror();
    /// Removes every redirect, including those of the nodes in `directed`, which the server may not have
    /// reported. Makes the session manager save the users' choices again. Returns when the streams are
    /// audible at their new place, or when the time of the server or the session manager is over. Any thread;
    /// concurrent calls run one after another.
    void giveBack(const std::vector<std::uint32_t>& directed);

private:
    enum class Stage { following, clearing, asking, clearingMissed, done };

    void connected(pw_core* core) override { graph_.attach(core); }
    void disconnected() override { graph_.detach(); }
    void metadataRequested() override { connection_.sync(); }
    void synchronized() override;
    void propertyChanged(AudioObjectID, FourCharCode) override {}
    void streamDescribed(const GraphStream&) override {}
    void streamRunningChanged(const GraphStream&) override {}
    void streamVanished(std::uint32_t) override {}
    void linksChanged() override;
    void sessionManagerGone() override {}
    void targetChanged(std::uint32_t, const std::string&, const std::optional<MetadataValue>&) override {}

    /// Whether all captured streams that still exist play into devices.
    bool areMoved() const;

    /// The guard has no log.
    class SilentLog final : public SystemLog {
    public:
        void write(LogLevel, std::string_view, std::string_view, std::string_view) override {}
    };

    SilentLog log_;
    PipeWireConnection connection_;
    PipeWireGraph graph_;
    PipeWireStaleRedirects redirects_;
    std::mutex oneAtATime_;
    Stage stage_ = Stage::following;
    bool isMirrored_ = false;
    /// Streams that were directed to a capture when they were restored.
    std::vector<std::uint32_t> captured_;
};

} // namespace vello
