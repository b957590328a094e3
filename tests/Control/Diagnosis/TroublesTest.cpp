// SPDX-License-Identifier: Apache-2.0
#include "Control/Diagnosis/Troubles.h"

#include "HealthySession.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

namespace vello {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Answer = AudioServerFacts::Answer;

std::vector<Trouble> troubles(const DiagnosisFacts& facts) {
    std::vector<Trouble> found;
    for (const Finding& finding : findTroubles(facts))
        found.push_back(finding.trouble);
    return found;
}

TEST(Troubles, AreNotFoundInAHealthySession) {
    EXPECT_THAT(findTroubles(healthySession()), IsEmpty());
}

/// What breaks a healthy session, the trouble that it causes, and a part of its sentence.
struct Breakage {
    const char* name;
    std::function<void(DiagnosisFacts&)> damage;
    Trouble trouble;
    const char* part;
};

class TroubleOf : public testing::TestWithParam<Breakage> {};

TEST_P(TroubleOf, IsTheOnlyOneFound) {
    DiagnosisFacts facts = healthySession();
    GetParam().damage(facts);
    const auto found = findTroubles(facts);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found.front().trouble, GetParam().trouble);
    EXPECT_THAT(found.front().sentence, HasSubstr(GetParam().part));
}

void addFilter(DiagnosisFacts& facts, const std::string& mediaClassOfOutput = "Stream/Output/Audio") {
    auto& server = facts.server;
    server.nodes.push_back(node(10, "Audio/Sink", "effect_input", "effect"));
    server.nodes.push_back(node(11, mediaClassOfOutput, "effect_output", "effect"));
    server.links.push_back({11, 1});
}

const std::vector<Breakage> kBreakages{
    {"noServer", [](auto& facts) { facts.server = {}; }, Trouble::noAudioServer,
     "systemctl --user start pipewire"},
    {"noServerInASandbox",
     [](auto& facts) {
         facts.server = {};
         facts.isSandboxed = true;
     },
     Trouble::noAudioServer, "flatpak override"},
    {"silentServer", [](auto& facts) { facts.server.answer = Answer::silent; }, Trouble::noAudioServer,
     "does not answer"},
    {"pulseAudioAlone",
     [](auto& facts) {
         facts.server = {};
         facts.isPulseAudioRunning = true;
     },
     Trouble::pulseAudio, "PulseAudio plays the sound here instead of PipeWire"},
    {"pulseAudioBesideAPipeWireWithoutDevices",
     [](auto& facts) {
         facts.server.nodes.clear();
         facts.isPulseAudioRunning = true;
     },
     Trouble::pulseAudio, "PulseAudio"},
    {"noSessionManager",
     [](auto& facts) {
         facts.server.hasMetadata = false;
         facts.sessionManager = {};
     },
     Trouble::sessionManager, "no session manager"},
    {"silentSessionManager", [](auto& facts) { facts.server.isMetadataSilent = true; },
     Trouble::sessionManager, "does not answer"},
    {"oldWirePlumber", [](auto& facts) { facts.sessionManager.version = "0.4.8"; }, Trouble::sessionManager,
     "WirePlumber 0.4.8 is too old"},
    {"anotherSessionManager",
     [](auto& facts) {
         facts.sessionManager.name = "pipewire-media-session";
         facts.sessionManager.version = "";
     },
     Trouble::sessionManager, "is too old"},
    {"refusedConnection", [](auto& facts) { facts.server.answer = Answer::refused; }, Trouble::noRights,
     "no right to connect"},
    {"restrictedClient", [](auto& facts) { facts.server.mayRedirect = false; }, Trouble::noRights,
     "no right to redirect"},
    {"twoInstances",
     [](auto& facts) {
         facts.server.clients.push_back({.id = 23, .name = "vello", .binary = "vello-panel", .pid = 300});
     },
     Trouble::twoInstances, "processes 200 and 300"},
    {"frozenInstance", [](auto& facts) { facts.instance.answer = InstanceFacts::Answer::silent; },
     Trouble::standsStill, "does not answer"},
    {"deniedConsent", [](auto& facts) { facts.consent = Consent::denied; }, Trouble::noConsent, "is denied"},
    {"missingConsent", [](auto& facts) { facts.consent = Consent::undecided; }, Trouble::noConsent,
     "is missing"},
    {"fullDisk", [](auto& facts) { facts.folders.front().freeBytes = 4096; }, Trouble::cannotSave,
     "disk is full"},
    {"readOnlyFolder", [](auto& facts) { facts.folders.front().isWritable = false; }, Trouble::cannotSave,
     "read-only"},
    {"unsavedChange", [](auto& facts) { facts.instance.state.saveProblem = "quota exceeded"; },
     Trouble::cannotSave, "quota exceeded"},
    {"filterBehindVello",
     [](auto& facts) {
         addFilter(facts);
         facts.server.links.push_back({4, 10});
     },
     Trouble::otherFilter, "\"effect_input\""},
    {"filterAsDefaultOutput",
     [](auto& facts) {
         addFilter(facts);
         facts.server.defaultOutput = "effect_input";
     },
     Trouble::otherFilter, "effect_input"},
    {"filterThatIsLinkedByHand",
     [](auto& facts) {
         facts.server.nodes.push_back(node(10, "Audio/Sink", "equalizer_sink"));
         facts.server.nodes.push_back(node(11, "", "equalizer_band"));
         facts.server.links.insert(facts.server.links.end(), {{4, 10}, {10, 11}, {11, 1}});
     },
     Trouble::otherFilter, "equalizer_sink"},
    {"noRealtime", [](auto& facts) { facts.realtime = RealtimePriority::refused; }, Trouble::noRealtime,
     "no realtime priority"},
    {"noTrayHost", [](auto& facts) { facts.hasTrayHost = false; }, Trouble::noTrayHost, "no tray items"},
};

INSTANTIATE_TEST_SUITE_P(, TroubleOf, testing::ValuesIn(kBreakages),
                         [](const auto& breakage) { return std::string(breakage.param.name); });

/// What looks like a breakage and is none.
const std::vector<std::pair<const char*, std::function<void(DiagnosisFacts&)>>> kHarmless{
    {"pulseAudioForOtherDevices", [](auto& facts) { facts.isPulseAudioRunning = true; }},
    {"newerWirePlumber", [](auto& facts) { facts.sessionManager.version = "0.5.8"; }},
    {"unknownVersion", [](auto& facts) { facts.sessionManager.version = ""; }},
    {"unusedFilter", [](auto& facts) { addFilter(facts); }},
    {"recorderOnTheMonitor",
     [](auto& facts) {
         facts.server.nodes.push_back(node(10, "Stream/Input/Audio", "recorder"));
         facts.server.links.push_back({1, 10});
     }},
    {"noScreen",
     [](auto& facts) {
         facts.hasScreen = false;
         facts.hasTrayHost = false;
     }},
    {"unknownTrayHost", [](auto& facts) { facts.hasTrayHost.reset(); }},
    {"unknownConsent", [](auto& facts) { facts.consent.reset(); }},
    {"noInstance", [](auto& facts) { facts.instance.answer = InstanceFacts::Answer::notRunning; }},
    {"unknownSpace", [](auto& facts) { facts.folders.front().freeBytes.reset(); }},
};

TEST(Troubles, AreNotFoundInWhatIsHarmless) {
    for (const auto& [name, change] : kHarmless) {
        DiagnosisFacts facts = healthySession();
        change(facts);
        EXPECT_THAT(findTroubles(facts), IsEmpty()) << name;
    }
}

TEST(Troubles, BeginWithTheOneThatHidesTheOthers) {
    DiagnosisFacts facts = healthySession();
    facts.hasTrayHost = false;
    facts.realtime = RealtimePriority::refused;
    facts.consent = Consent::denied;
    EXPECT_THAT(troubles(facts), ElementsAre(Trouble::noConsent, Trouble::noTrayHost, Trouble::noRealtime));
}

TEST(Troubles, AreOneLineWhateverAnotherProgramIsCalled) {
    DiagnosisFacts facts = healthySession();
    addFilter(facts);
    facts.server.nodes[4].description = "evil\nNo trouble found.\x1b[2J";
    facts.server.defaultOutput = "effect_input";
    const auto found = findTroubles(facts);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found.front().sentence.find_first_of("\n\x1b"), std::string::npos);
}

} // namespace
} // namespace vello
