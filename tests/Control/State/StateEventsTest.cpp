// SPDX-License-Identifier: Apache-2.0
// What a running VELLO reports as it changes, and the hints after a command.
#include "Control/State/Hints.h"
#include "Control/State/StateJSON.h"

#include "ExampleStates.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace vello {
namespace {

using testing::HasSubstr;
using testing::SizeIs;

std::vector<nlohmann::json> events(const RunningState& before, const RunningState& now) {
    std::vector<nlohmann::json> all;
    for (const std::string& line : changeEvents(before, now))
        all.push_back(nlohmann::json::parse(line));
    return all;
}

TEST(StateEvents, AreNoneWhereOnlyLevelsDiffer) {
    RunningState now = exampleState();
    now.sources[3].meters->level = 0.25;
    now.sources[1].meters = MeterReading{.id = "org.a", .level = 1};
    EXPECT_TRUE(changeEvents(exampleState(), now).empty());
    EXPECT_FALSE(nlohmann::json::parse(stateEvent(now))["sources"][3].contains("level"));
}

TEST(StateEvents, NameWhatHasChangedAndWhatHasGone) {
    RunningState now = exampleState();
    now.sources[1].settings.volume = 0.125;
    now.sources.erase(now.sources.begin() + 2);
    now.sources.push_back(source("org.new", "New"));
    const auto all = events(exampleState(), now);
    ASSERT_THAT(all, SizeIs(1));
    EXPECT_EQ(all[0]["event"], "sources");
    ASSERT_THAT(all[0]["changed"], SizeIs(2));
    EXPECT_EQ(all[0]["changed"][0]["id"], "org.a");
    EXPECT_EQ(all[0]["changed"][0]["settings"]["volume"], 0.125);
    EXPECT_EQ(all[0]["changed"][1]["id"], "org.new");
    EXPECT_EQ(all[0]["removed"], nlohmann::json::parse(R"(["org.b"])"));
}

TEST(StateEvents, TellTheOtherParts) {
    RunningState now = exampleState();
    now.isProcessingEnabled = false;
    now.consent = Consent::denied;
    now.saveProblem = "not saved";
    now.outputs.pop_back();
    now.presets[1].bandGains[0] = 3;
    const auto all = events(exampleState(), now);
    ASSERT_THAT(all, SizeIs(5));
    EXPECT_EQ(all[0], nlohmann::json::parse(R"({"event":"processing","isProcessingEnabled":false})"));
    EXPECT_EQ(all[1], nlohmann::json::parse(R"({"event":"permission","permission":"denied"})"));
    EXPECT_EQ(all[2], nlohmann::json::parse(R"({"event":"saveProblem","saveProblem":"not saved"})"));
    EXPECT_EQ(all[3], nlohmann::json::parse(R"({"event":"outputs","changed":[],"removed":["hdmi"]})"));
    EXPECT_EQ(all[4]["event"], "presets");
    EXPECT_EQ(all[4]["changed"][0]["bandGains"][0], 3);
    EXPECT_EQ(events(now, exampleState())[2]["saveProblem"], nullptr);
}

TEST(StateEvents, TellLevelsOfRunningTapsAlone) {
    const auto event = nlohmann::json::parse(levelsEvent(exampleState()));
    EXPECT_EQ(event["event"], "levels");
    ASSERT_THAT(event["levels"], SizeIs(4));
    EXPECT_EQ(event["levels"][2], nlohmann::json::parse(R"({"id": "org.c", "level": 0.5,
        "tempo": {"beatsPerMinute": 120, "confidence": 0.9}})"));
}

// Hints

TEST(Hints, AreGivenOnlyWhereAChangeIsNotHeard) {
    RunningState state = exampleState(); // System has a curve
    const SettingsChange curve{.presetID = "flat"};
    EXPECT_THAT(reasonsNotHeard(state, state.sources[0], curve), SizeIs(0));
    EXPECT_THAT(reasonsNotHeard(state, state.sources[3], curve), SizeIs(0)) << "it has settings of its own";
    EXPECT_THAT(reasonsNotHeard(state, state.sources[1], curve),
                testing::ElementsAre(HasSubstr("those of System hold")));
    EXPECT_THAT(reasonsNotHeard(state, state.sources[1], {.downmixesSurround = true}), SizeIs(0));
    state.sources[0].settings = {};
    EXPECT_THAT(reasonsNotHeard(state, state.sources[1], curve), SizeIs(0)) << "flat is what is heard";
}

TEST(Hints, NameABypassForCurvesAlone) {
    RunningState state = exampleState();
    state.sources[3].settings.isBypassed = true;
    EXPECT_THAT(reasonsNotHeard(state, state.sources[3], {.presetID = "vocal"}),
                testing::ElementsAre(HasSubstr("--bypass off")));
    EXPECT_THAT(reasonsNotHeard(state, state.sources[3], {.volume = 0.5}), SizeIs(0)) << "it still applies";
}

TEST(Hints, NameTheSwitchAndThePermissionFirst) {
    RunningState state = exampleState();
    state.consent = Consent::undecided;
    EXPECT_THAT(reasonsNotHeard(state, state.sources[3], {.volume = 0.5}),
                testing::ElementsAre(HasSubstr("vello permission allow")));
    state.isProcessingEnabled = false;
    EXPECT_THAT(reasonsNotHeard(state, state.sources[3], {.volume = 0.5}),
                testing::ElementsAre(HasSubstr("vello on")));
}

} // namespace
} // namespace vello
