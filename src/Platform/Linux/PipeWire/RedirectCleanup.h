// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireGraph.h"
#include "PipeWireStreamDirector.h"
#include "PipeWireConnection.h"

#include <mutex>
#include <string>
#include <vector>

namespace vello {

/// Follows what the streams are directed to, so that it can take the redirects away without asking first: the
/// session manager then moves the streams before it has heard of the captures' end, and moves them once.
class RedirectCleanup final : private PipeWireConnectionHandler, private PipeWireGraphObserver {
public:
    explicit RedirectCleanup(std::string remoteName);
    ~RedirectCleanup() override;

    /// Returns when the mirror shows what the server has, or soon when there is no server.
    void awaitMirror();
    /// Takes every redirect away, also of the streams of the nodes `directed`, of which the server may not
    /// have told, and has the session manager save the users' choices again. Returns when the streams are
    /// heard where they went, or when the server or the session manager had its time. Any thread; one at a
    /// time, the others wait.
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

    /// Whether what was captured plays into devices, as far as it still plays.
    bool areMoved() const;

    /// A guard has nobody to tell.
    class SilentLog final : public SystemLog {
    public:
        void write(LogLevel, std::string_view, std::string_view, std::string_view) override {}
    };

    SilentLog log_;
    PipeWireConnection connection_;
    PipeWireGraph graph_;
    PipeWireStreamDirector director_;
    std::mutex oneAtATime_;
    Stage stage_ = Stage::following;
    bool isMirrored_ = false;
    /// Streams that were directed to a capture when they were given back.
    std::vector<std::uint32_t> captured_;
};

} // namespace vello
