// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/Diagnosis/DiagnosisFacts.h"

#include <cstdint>
#include <string>

namespace vello {

inline AudioNodeFacts node(std::uint32_t id, const std::string& mediaClass, const std::string& name,
                           const std::string& linkGroup = {}) {
    return {.id = id,
            .client = {},
            .mediaClass = mediaClass,
            .name = name,
            .description = {},
            .application = {},
            .media = {},
            .linkGroup = linkGroup,
            .isRunning = true};
}

/// The player plays into VELLO's capture, whose other end plays on the speakers.
inline DiagnosisFacts healthySession() {
    DiagnosisFacts facts{.version = "1.0.0",
                         .toolkit = "6.4.2",
                         .kernel = "Linux 6.1.0 x86_64",
                         .distribution = "Debian GNU/Linux 12 (bookworm)"};
    AudioServerFacts& server = facts.server;
    server.answer = AudioServerFacts::Answer::complete;
    server.version = server.library = "0.3.65";
    server.defaultOutput = "speakers";
    server.hasMetadata = true;
    server.nodes = {node(1, "Audio/Sink", "speakers"), node(2, "Stream/Output/Audio", "player"),
                    node(3, "Audio/Sink/Internal", "EQ-by-QUORVIN-Tap-1", "tap-1"),
                    node(4, "Stream/Output/Audio/Internal", "EQ-by-QUORVIN-Tap-1-output", "tap-1")};
    server.nodes[0].description = "Speakers";
    server.nodes[1].client = 20;
    server.nodes[1].media = "Secret Song";
    server.links = {{2, 3}, {2, 3}, {4, 1}};
    server.clients = {{.id = 20, .name = "Music Player", .binary = "player", .pid = 100},
                      {.id = 21, .name = "vello", .binary = "vello", .pid = 200},
                      {.id = 22, .name = "vello", .binary = "vello", .pid = 200}};
    facts.sessionManager = {"WirePlumber", "0.4.13"};
    facts.consent = Consent::allowed;
    facts.instance.answer = InstanceFacts::Answer::complete;
    facts.instance.state = {.version = "1.0.0", .consent = Consent::allowed};
    facts.instance.state.exemptStreams.emplace();
    facts.instance.missedCycles = 7;
    facts.realtime = RealtimePriority::granted;
    facts.hasScreen = true;
    facts.hasTrayHost = true;
    facts.folders = {{.folder = "~/.local/share/EQ by QUORVIN", .freeBytes = 5'000'000'000}};
    return facts;
}

} // namespace vello
