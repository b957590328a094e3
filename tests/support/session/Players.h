// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ChildProcess.h"
#include "PrivateAudioSession.h"
#include "SoundFormat.h"

#include <memory>
#include <string>

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
};

/// The sorts of applications there are, by the way they speak to the sound server.
enum class PlayerKind {
    native,     ///< PipeWire's own protocol
    pulseAudio, ///< a client of the PulseAudio server
    alsa,       ///< the ALSA library with its PipeWire plug-in
    commandLine ///< PipeWire's own player of files
};

/// The text of a constant signal of exactly that value.
std::string constantSignal(double value);
/// The kind in one word.
std::string name(PlayerKind kind);

/// Starts a player. All but the native kind play a file of `seconds`.
std::unique_ptr<ChildProcess> startPlayer(const PrivateAudioSession& session, PlayerKind kind,
                                          const PlayerOptions& options, int seconds = 30);

} // namespace vello::session
