// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioGraph.h"
#include "Consent.h"
#include "MonitorRecorder.h"
#include "Passage.h"
#include "Players.h"
#include "PrivateAudioSession.h"
#include "SignalCode.h"
#include "VelloSettings.h"

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

namespace vello::session {

using namespace std::chrono_literals;

/// VELLO in a private audio session, with players and recorders. Whatever a test has started ends with it; a
/// failed one tells what VELLO, the servers and the graph have to say.
class VelloTest : public testing::Test {
protected:
    /// To be called first. The user of the session allows the capture.
    void openSession(SessionOptions options = {});
    void TearDown() override;

    const PrivateAudioSession& session() const { return *session_; }
    PrivateAudioSession& session() { return *session_; }
    AudioGraph& graph() { return *graph_; }
    int quantum() const { return session_->options().quantum; }
    /// After the servers came back.
    void reconnect();

    /// `launcher` is a command that becomes the program after its arguments, such as env.
    void startVello(const std::vector<std::string>& launcher = {});
    ChildProcess& vello() { return *vello_; }
    /// Asks VELLO to end; a test fails when it does not.
    void stopVello();

    ChildProcess& play(const PlayerOptions& options, PlayerKind kind = PlayerKind::native);
    /// What a patchbay does: links the front channels of a player to those of the output.
    void connectByHand(const std::string& player, const std::string& output);
    /// Ends a player and waits until its stream is gone.
    void endPlayer(const std::string& name);
    void endPlayers() { players_.clear(); }

    /// The recorder at an output, made when first asked for.
    MonitorRecorder& monitor(const std::string& output);
    void forgetMonitors() { monitors_.clear(); }
    /// Waits until what is heard at the output took that way for `frames` frames.
    [[nodiscard]] bool awaitWay(const std::string& output, Way way, std::size_t frames = 8192,
                                std::chrono::milliseconds timeout = 8s);
    /// Waits until every stream of this name is linked to a capture of VELLO and to nothing else.
    [[nodiscard]] bool awaitTapped(const std::string& player, std::chrono::milliseconds timeout = 8s);

private:
    std::unique_ptr<PrivateAudioSession> session_;
    std::unique_ptr<AudioGraph> graph_;
    std::map<std::string, std::unique_ptr<MonitorRecorder>> monitors_;
    std::map<std::string, std::unique_ptr<ChildProcess>> players_;
    std::unique_ptr<ChildProcess> vello_;
    int velloStarts_ = 0;
};

/// How often a test does what it is about: `usual` times, or as often as whoever measures says in
/// VELLO_REPETITIONS.
int repetitions(int usual);
/// Whether the node belongs to VELLO.
bool isVellos(const GraphNode& node);
/// Names of the captures that VELLO has now.
std::vector<std::string> captures(const GraphState& state);
/// Where the streams of that name are linked to, by name, sorted.
std::vector<std::string> destinations(const GraphState& state, const std::string& player);
bool isTapped(const GraphState& state, const std::string& player);
/// Whether VELLO has written anything about the stream.
bool isTouched(const GraphState& state, const std::string& player);
/// Whether the stream plays on that output and nowhere else, untouched.
bool isLeftAlone(const GraphState& state, const std::string& player, const std::string& output);
/// Streams whose target in the metadata is a capture of VELLO.
int redirects(const GraphState& state);
/// How many captures VELLO has made since the graph was looked at first.
int capturesMade(const AudioGraph& graph);

} // namespace vello::session
