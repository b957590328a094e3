// SPDX-License-Identifier: Apache-2.0
#include "Control/State/Lookup.h"
#include "Control/State/Nearest.h"

#include "ExampleStates.h"

#include <gmock/gmock.h>

namespace vello {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

template <class Action> std::string refusal(Action action) {
    try {
        action();
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

TEST(Lookup, FindsASourceByItsIDOrByANameThatItAloneHas) {
    const RunningState state = exampleState();
    EXPECT_EQ(findSource(state, "org.b").source.id, "org.b");
    EXPECT_EQ(findSource(state, "Browser").source.id, "org.c");
    EXPECT_EQ(findSource(state, "system").source.id, kSystemSourceID);
    EXPECT_EQ(findSource(state, "System").source.id, kSystemSourceID);
}

TEST(Lookup, SaysWhichSourcesShareAName) {
    const RunningState state = exampleState();
    EXPECT_THAT(refusal([&] { findSource(state, "Player"); }), AllOf(HasSubstr("org.a"), HasSubstr("org.b")));
    EXPECT_THAT(refusal([&] { findSourceID(state, "Player"); }), HasSubstr("org.a"));
    EXPECT_THAT(refusal([&] { findSource(state, kEvilName + std::string("x")); }), Not(HasSubstr("\x1b")));
}

TEST(Lookup, FindsASourceThatDoesNotPlayByItsIDOnly) {
    RunningState state = exampleState();
    state.storedSources = {source("org.absent", "org.absent")};
    EXPECT_EQ(findSourceID(state, "org.absent"), "org.absent");
    EXPECT_THAT(refusal([&] { findSourceID(state, "org.abzent"); }),
                AllOf(HasSubstr("did you mean \"org.absent\"?"), HasSubstr("vello status --all")));
    EXPECT_THAT(refusal([&] { findSourceID(state, "Browzer"); }), HasSubstr("did you mean \"Browser\"?"));
    EXPECT_THAT(refusal([&] { findSource(exampleState(), "org.absent"); }), HasSubstr("vello status"));
}

TEST(Lookup, FindsAnApplicationThatHasNothingButExemptStreams) {
    RunningState state = stateWithExemptStreams();
    EXPECT_EQ(findSourceID(state, "org.film"), "org.film");
    EXPECT_EQ(findSourceID(state, "Film"), "org.film") << "two streams of one application";
    EXPECT_THAT(refusal([&] { findSourceID(state, ""); }), HasSubstr("no source"))
        << "a stream without an application is none";
    EXPECT_THAT(refusal([&] { findSource(state, "Film"); }), HasSubstr("no source"));
    state.exemptStreams->push_back(
        {.sourceID = "pid.9", .name = "Film", .streamName = "", .reason = "fixed"});
    EXPECT_THAT(refusal([&] { findSourceID(state, "Film"); }),
                AllOf(HasSubstr("org.film"), HasSubstr("pid.9")));
    state.exemptStreams->push_back({.sourceID = "x", .name = "Browser", .streamName = "", .reason = "fixed"});
    EXPECT_EQ(findSourceID(state, "Browser"), "org.c") << "what is captured comes first";
}

TEST(Lookup, FindsAnApplicationThatIsHeldReadyByItsName) {
    RunningState state = stateWithReadyApplications();
    EXPECT_EQ(findSourceID(state, "Lost"), "org.lost");
    state.readyApplications->push_back({.sourceID = "org.lost2", .name = "Lost"});
    EXPECT_THAT(refusal([&] { findSourceID(state, "Lost"); }), HasSubstr("org.lost, org.lost2"));
}

TEST(Lookup, FindsAPresetByBuiltInIDThenSavedNameThenBuiltInTitle) {
    std::vector<PresetState> presets{{"vocal", "Vocal", true, {}}, {"flat", "Flat", true, {}}};
    std::string told;
    const auto find = [&](const std::string& word) {
        told.clear();
        return findPresetID(presets, word, [&](const std::string& sentence) { told += sentence; });
    };
    EXPECT_EQ(find("vocal"), "vocal");
    EXPECT_EQ(find("Vocal"), "vocal");
    EXPECT_EQ(told, "") << "one preset is meant";
    presets.push_back({"Vocal", "Vocal", false, {}});
    presets.push_back({"flat", "flat", false, {}});
    EXPECT_EQ(find("Vocal"), "Vocal");
    EXPECT_EQ(told, R"("Vocal" is taken for your saved preset "Vocal", not for the built-in preset vocal)");
    EXPECT_EQ(find("flat"), "flat");
    EXPECT_EQ(told, R"("flat" is taken for the built-in preset flat, not for your saved preset "flat")");
    EXPECT_THAT(refusal([&] { find("vocla"); }),
                AllOf(HasSubstr("did you mean \"vocal\"?"), HasSubstr("vello presets")));
}

TEST(Lookup, FindsASavedPresetByItsExactName) {
    const auto presets = exampleState().presets;
    EXPECT_EQ(findUserPresetID(presets, "Mine"), "Mine");
    EXPECT_THAT(refusal([&] { findUserPresetID(presets, "vocal"); }),
                HasSubstr("no saved preset \"vocal\"; did you mean \"Vocal\"?"));
}

TEST(Nearest, IsTheWordWithTheFewestTypingErrors) {
    const std::vector<std::string> known{"status", "set", "presets", "Firefox", std::string(100, 'x')};
    EXPECT_EQ(nearestWord("stauts", known), "status") << "swapped letters";
    EXPECT_EQ(nearestWord("sett", known), "set");
    EXPECT_EQ(nearestWord("firefox", known), "Firefox");
    EXPECT_EQ(nearestWord("prests", known), "presets");
    EXPECT_EQ(nearestWord("entirely else", known), "");
    EXPECT_EQ(nearestWord("", known), "");
    EXPECT_EQ(nearestWord("x", known), "");
    EXPECT_EQ(nearestWord(std::string(100, 'x'), known), "") << "too long to be compared";
}

TEST(Lookup, FindsAnOutputByUIDNameOrAuto) {
    const RunningState state = exampleState();
    EXPECT_EQ(findOutputUID(state, "hdmi"), "hdmi");
    EXPECT_EQ(findOutputUID(state, "Speakers"), "speakers");
    EXPECT_EQ(findOutputUID(state, "auto"), "");
    EXPECT_THAT(refusal([&] { findOutputUID(state, "Phones"); }),
                AllOf(HasSubstr("phones"), HasSubstr("hdmi")));
    EXPECT_THAT(refusal([&] { findOutputUID(state, "attic"); }), HasSubstr("no output"));
}

} // namespace
} // namespace vello
