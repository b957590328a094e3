// SPDX-License-Identifier: Apache-2.0
// States of a running VELLO for tests of what is said about them.
#pragma once

#include "Control/State/RunningState.h"

#include <string>
#include <vector>

namespace vello {

inline constexpr char kEvilName[] = "evil\n\x1b[2J\u202Ename\xFF";

inline SourceState source(const std::string& id, const std::string& name) {
    return {.source = {.id = id, .pid = 7, .name = name, .bundleID = id},
            .settings = {},
            .tapState = TapState::running};
}

/// The system-wide entry, two players with the same name and one with a malicious name.
inline RunningState exampleState() {
    RunningState state{.version = "1.2.3", .consent = Consent::allowed};
    state.sources = {
        {.source = {.id = std::string(kSystemSourceID), .pid = {}, .name = "System", .bundleID = {}},
         .settings = {.bandGains = {-2, -1, 0, 2, 4, 4, 2, 0}, .volume = 0.5},
         .tapState = TapState::none},
        source("org.a", "Player"),
        source("org.b", "Player"),
        source("org.c", "Browser"),
        source("org.evil", kEvilName)};
    state.sources[3].settings.bandGains = {-6, 0, 0.5, 0, 0, 0, 0, 3.25};
    state.sources[3].settings.outputDeviceUID = "phones";
    state.sources[3].deviceUID = "phones";
    state.sources[3].meters =
        MeterReading{.id = "org.c", .level = 0.5, .beatsPerMinute = 120, .confidence = 0.9};
    state.outputs = {{"speakers", "Speakers", true}, {"phones", "Phones", false}, {"hdmi", "Phones", false}};
    state.presets = {{"vocal", "Vocal", true, {-2, -1, 0, 2, 4, 4, 2, 0}},
                     {"Vocal", "Vocal", false, std::vector<double>(8, 1.0)},
                     {"Mine", "Mine", false, std::vector<double>(8, 2.0)}};
    return state;
}

inline RunningState stateWithExemptStreams() {
    RunningState state = exampleState();
    state.exemptStreams = {
        {.sourceID = "org.film",
         .name = "Film",
         .streamName = "Sound",
         .pid = 8,
         .bundleID = "org.film",
         .deviceUID = "phones",
         .isPlaying = true,
         .reason = "surround"},
        {.sourceID = "", .name = kEvilName, .streamName = "", .reason = "module"},
        {.sourceID = "org.film", .name = "Film", .streamName = "", .reason = "new\x1b word"}};
    return state;
}

inline RunningState stateWithReadyApplications() {
    RunningState state = stateWithExemptStreams();
    state.readyApplications = {{.sourceID = "org.ready", .name = kEvilName, .deviceUID = "phones"},
                               {.sourceID = "org.lost", .name = "Lost"},
                               {.sourceID = "org.gone", .name = "Gone", .deviceUID = "at\x1btic"}};
    return state;
}

} // namespace vello
