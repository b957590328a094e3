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
    std::string name = {};           ///< node name and name of the application; unique among the running ones
    std::string applicationID = {};  ///< "application.id"; empty: none
    std::string signal = "position"; ///< as makeSignal takes it; "counter" for players of files
    std::string output = {};         ///< node name of the output; empty: the default
    int sampleRate = 48000;          ///< Hz
    int latency = 0;                 ///< frames that a native player asks for; 0: none
    int channels = 2;                ///< of a native player, in the usual positions; the others have two
    SampleFormat format = SampleFormat::f32; ///< of a native player; the others write f32
    bool isEncoded = false;                  ///< a native player, which offers a compressed format alone
    /// "KEY=VALUE", of a native player's streams or of a PulseAudio player.
    std::vector<std::string> properties = {};
    std::vector<std::string> clientProperties = {}; ///< "KEY=VALUE", of a native player's client
};

/// The sorts of applications there are, by the way they speak to the sound server.
enum class PlayerKind {
    native,      ///< PipeWire's own protocol
    pulseAudio,  ///< a client of the PulseAudio server
    alsa,        ///< the ALSA library with its PipeWire plug-in
    commandLine, ///< PipeWire's own player of files
    jack         ///< ports alone, as a client of the JACK library has them; linked by hand
};

/// The text of a constant signal of exactly that value.
std::string constantSignal(double value);
/// The kind in one word.
std::string name(PlayerKind kind);

/// Starts a player. All but the native and the JACK kind play a file of `seconds`.
std::unique_ptr<ChildProcess> startPlayer(const PrivateAudioSession& session, PlayerKind kind,
                                          const PlayerOptions& options, int seconds = 30);

} // namespace vello::session
