// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PrivateAudioSession.h"

#include <array>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

namespace vello::session {

/// A user's settings for one source.
struct SourceSettings {
    std::array<double, 8> bandGains = {}; ///< dB
    double volume = 1;                    ///< linear
    std::string output = {};              ///< UID of the chosen output; empty: none
    bool isBypassed = false;
};

/// The source whose settings apply to every application without settings of its own.
inline constexpr const char* kSystemSource = "eq-by-quorvin.system.master";
/// Prefix of the names of all nodes of VELLO.
inline constexpr const char* kTapPrefix = "EQ-by-QUORVIN-Tap-";

std::filesystem::path settingsFile(const PrivateAudioSession& session);
/// Writes the session's settings file, by source ID.
/// With `presets` saved presets of the names "Preset 0" and so on, each with other gains.
void writeSettings(const PrivateAudioSession& session, const std::map<std::string, SourceSettings>& sources,
                   int presets = 0);

} // namespace vello::session
