// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ChildProcess.h"
#include "PrivateAudioSession.h"
#include "SoundFormat.h"

#include <memory>
#include <string>
#include <vector>

namespace vello::session {

/// An application that plays a known signal.
struct PlayerOptions {
    std::string name = {};           ///< node name and application name; unique among the running players
    std::string applicationID = {};  ///< "application.id"; empty: none
    std::string signal = "position"; ///< text for makeSignal; "counter" for players of files
    std::string output = {};         ///< node name of the output; empty: the default output
    int sampleRate = 48000;          ///< Hz
    int latency = 0;                 ///< frames that a native player requests; 0: none
    int channels = 2;                ///< of a native player, in the usual positions; the others have two
    SampleFormat format = SampleFormat::f32; ///< of a native player; the others write f32
    bool isEncoded = false;                  ///< the native player offers only a compressed format
    /// "KEY=VALUE", of a native player's streams or of a PulseAudio player.
    std::vector<std::string> properties = {};
    std::vector<std::string> clientProperties = {}; ///< "KEY=VALUE", of a native player's client
};

/// Kinds of applications by their connection to the sound server.
enum class PlayerKind {
    native,      ///< PipeWire's own protocol
    pulseAudio,  ///< a client of the PulseAudio server
    alsa,        ///< the ALSA library with its PipeWire plug-in
    commandLine, ///< PipeWire's own file player
    jack         ///< ports only, as the JACK library creates them; linked by hand
};

/// The text of a constant signal of exactly that value.
std::string constantSignal(double value);
/// The name of the kind in one word.
std::string name(PlayerKind kind);

/// Starts a player. All kinds but the native and the JACK one play a file of `seconds`.
std::unique_ptr<ChildProcess> startPlayer(const PrivateAudioSession& session, PlayerKind kind,
                                          const PlayerOptions& options, int seconds = 30);

} // namespace vello::session
