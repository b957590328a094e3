// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PipeWireConnection.h"
#include "PipeWireGraph.h"
#include "PipeWireStreamDirector.h"

#include <functional>
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
    /// have told, and has the session manager save the users' choices again. Returns when the
    /// server has heard of everything, or does not answer. `moved` is called, before or after that, as soon
    /// as the streams that were known play into their devices. Any thread; one at a time, the others wait.
    void giveBack(const std::vector<std::uint32_t>& directed, std::function<void()> moved);

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
    /// Streams that still play into a capture.
    std::vector<std::uint32_t> captured_;
    std::function<void()> moved_;
};

} // namespace vello
