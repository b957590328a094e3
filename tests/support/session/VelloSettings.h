// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PrivateAudioSession.h"

#include <array>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

namespace vello::session {

/// What a user has set for one source.
struct SourceSettings {
    std::array<double, 8> bandGains = {}; ///< dB
    double volume = 1;                    ///< linear
    std::string output = {};              ///< UID of the chosen output; empty: none
    bool isBypassed = false;
};

/// The source whose settings hold for every application without settings of its own.
inline constexpr const char* systemSource = "eq-by-quorvin.system.master";
/// What the name of every node of VELLO begins with.
inline constexpr const char* tapPrefix = "EQ-by-QUORVIN-Tap-";

std::filesystem::path settingsFile(const PrivateAudioSession& session);
/// Writes the settings file of the session, by source id.
void writeSettings(const PrivateAudioSession& session, const std::map<std::string, SourceSettings>& sources);

} // namespace vello::session
