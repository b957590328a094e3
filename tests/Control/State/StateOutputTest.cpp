// SPDX-License-Identifier: Apache-2.0
#include "Control/State/ExemptionWords.h"
#include "Control/State/Hints.h"
#include "Control/State/Lookup.h"
#include "Control/State/Nearest.h"
#include "Control/State/StateJSON.h"
#include "Control/State/StateText.h"
#include "Foundation/Text.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <set>
#include <sstream>

namespace vello {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

constexpr char kEvilName[] = "evil\n\x1b[2J\u202Ename\xFF";

SourceState source(const std::string& id, const std::string& name) {
    return {.source = {.id = id, .pid = 7, .name = name, .bundleID = id},
            .settings = {},
            .tapState = TapState::running};
}

/// The system-wide entry, two players with the same name and one with a malicious name.
RunningState exampleState() {
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

RunningState stateWithExemptStreams() {
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

RunningState stateWithReadyApplications() {
    RunningState state = stateWithExemptStreams();
    state.readyApplications = {{.sourceID = "org.ready", .name = kEvilName, .deviceUID = "phones"},
                               {.sourceID = "org.lost", .name = "Lost"},
                               {.sourceID = "org.gone", .name = "Gone", .deviceUID = "at\x1btic"}};
    return state;
}

template <class Action> std::string refusal(Action action) {
    try {
        action();
        return "";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> all;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        all.push_back(line);
    return all;
}

// Lookup

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

// Human-readable output

TEST(StateText, SaysWhatIsNotSavedInOneLineThatIsSafeOnATerminal) {
    RunningState state = exampleState();
    state.saveProblem = "not saved, because of \x1b[2J";
    EXPECT_EQ(lines(statusText(state))[1], "Settings: not saved, because of ?[2J.");
    EXPECT_EQ(nlohmann::json::parse(statusJSON(state))["saveProblem"], state.saveProblem);
}

TEST(StateText, AlignsItsColumnsWhateverTheNamesAre) {
    RunningState state = exampleState();
    state.sources[1].source.name = "音楽 プレーヤー";
    state.sources[2].source.name = "e\u0301e\u0301";
    const auto all = lines(statusText(state));
    ASSERT_THAT(all, SizeIs(8));
    const auto columnOf = [&](const std::string& line, const std::string& text) {
        return terminalWidth(line.substr(0, line.find(text)));
    };
    const std::size_t column = columnOf(all[2], "TAP");
    for (std::size_t i = 4; i < all.size(); ++i)
        EXPECT_EQ(columnOf(all[i], "running"), column) << all[i];
}

TEST(StateText, SaysWhatEachSourceSoundsLike) {
    const auto all = lines(statusText(exampleState()));
    EXPECT_EQ(all[0], "VELLO 1.2.3 is on.");
    EXPECT_THAT(all[3], AllOf(HasSubstr("system"), HasSubstr("50 %"), HasSubstr("Vocal")));
    EXPECT_THAT(all[4], AllOf(HasSubstr("automatic"), HasSubstr("50 %"), HasSubstr("as System: Vocal")));
    EXPECT_THAT(all[6], AllOf(HasSubstr("Phones"), HasSubstr("-6.0 dB"), HasSubstr("100 %"),
                              HasSubstr("-6 0 +0.5 0 0 0 0 +3.25"), HasSubstr("120 BPM")));
}

TEST(StateText, SaysWhyNothingIsEqualized) {
    RunningState state = exampleState();
    state.isProcessingEnabled = false;
    state.consent = Consent::denied;
    state.sources[3].settings.isBypassed = true;
    const std::string text = statusText(state);
    EXPECT_THAT(text, AllOf(HasSubstr("is off."), HasSubstr("denied"), HasSubstr("vello permission allow"),
                            HasSubstr("bypassed")));
}

TEST(StateText, KeepsNamesFromTheTerminal) {
    const std::string text = statusText(exampleState());
    EXPECT_THAT(text, AllOf(Not(HasSubstr("\x1b")), Not(HasSubstr("\u202E")), Not(HasSubstr("\xFF"))));
    EXPECT_THAT(text, HasSubstr("evil??[2J?name?"));
}

TEST(StateText, ShowsWhatIsLeftAsItIsBelowTheSources) {
    const auto all = lines(statusText(stateWithExemptStreams()));
    ASSERT_THAT(all, SizeIs(13));
    EXPECT_EQ(all[8], "");
    EXPECT_THAT(all[9], AllOf(HasSubstr("SOURCE"), HasSubstr("STREAM"), HasSubstr("PLAYS")));
    EXPECT_THAT(all[10], AllOf(HasSubstr("org.film"), HasSubstr("Sound"), HasSubstr("8"), HasSubstr("Phones"),
                               HasSubstr("yes"), HasSubstr("vello set ID --downmix on takes it")));
    EXPECT_THAT(all[11], AllOf(testing::StartsWith("-"), HasSubstr("evil??[2J?name?"), HasSubstr("filter")));
    EXPECT_THAT(all[12], HasSubstr("new? word"));
}

TEST(StateText, SaysWhenNothingIsLeftAsItIs) {
    RunningState state = exampleState();
    state.exemptStreams.emplace();
    EXPECT_EQ(lines(statusText(state)).back(), "No stream is left as it is.");
}

TEST(StateText, ShowsWhatIsHeldReadyBelowWhatIsLeftAsItIs) {
    const auto all = lines(statusText(stateWithReadyApplications()));
    ASSERT_THAT(all, SizeIs(18));
    EXPECT_EQ(all[13], "");
    EXPECT_EQ(all[14], "SOURCE     NAME             HELD READY ON");
    EXPECT_EQ(all[15], "org.ready  evil??[2J?name?  Phones");
    EXPECT_EQ(all[16], "org.lost   Lost             -");
    EXPECT_EQ(all[17], "org.gone   Gone             at?tic");
}

TEST(StateText, SaysWhenNothingIsHeldReady) {
    RunningState state = exampleState();
    state.readyApplications.emplace();
    EXPECT_EQ(lines(statusText(state)).back(), "No application is held ready.");
}

TEST(StateText, ShowsADownmixAndATapThatIsNotConnected) {
    RunningState state = exampleState();
    state.sources[3].settings.downmixesSurround = true;
    state.sources[3].tapState = TapState::connecting;
    EXPECT_THAT(lines(statusText(state))[6], AllOf(HasSubstr("Phones, downmixed"), HasSubstr("connecting")));
}

TEST(ExemptionWords, EveryReasonHasAWordAndAPhrase) {
    std::set<std::string_view> words;
    for (auto reason = static_cast<std::uint32_t>(StreamExemption::fixed);
         reason <= static_cast<std::uint32_t>(StreamExemption::pinnedElsewhere); ++reason) {
        const auto word = exemptionWord(static_cast<StreamExemption>(reason));
        EXPECT_NE(word, "unknown") << reason;
        EXPECT_NE(exemptionPhrase(word), word);
        words.insert(word);
    }
    EXPECT_THAT(words, SizeIs(7));
    EXPECT_EQ(exemptionWord(StreamExemption::none), "unknown");
    EXPECT_EQ(exemptionPhrase("unknown"), "unknown");
}

TEST(StateText, ListsPresetsBandByBand) {
    const auto all = lines(presetsText(exampleState()));
    ASSERT_THAT(all, SizeIs(4));
    EXPECT_THAT(all[0], AllOf(HasSubstr("63"), HasSubstr("8K")));
    EXPECT_THAT(all[1], AllOf(HasSubstr("vocal"), HasSubstr("-2"), HasSubstr("+4")));
}

TEST(TerminalText, CutsWhatIsTooWide) {
    EXPECT_EQ(fittedText("abcdef", 6), "abcdef");
    EXPECT_EQ(fittedText("abcdefg", 6), "abcde…");
    EXPECT_EQ(fittedText("音楽音楽", 6), "音楽…");
    EXPECT_LE(terminalWidth(fittedText(std::string(1000000, 'x'), 40)), 40U);
}

TEST(TerminalText, KeepsPilesOfMarksLow) {
    std::string pile = "x";
    for (int i = 0; i < 100; ++i)
        pile += "\u0301";
    EXPECT_LE(terminalText(pile).size(), 16U);
}

// Machine-readable output

TEST(StateJSON, HasEveryKeyInOneLine) {
    const std::string text = statusJSON(exampleState());
    EXPECT_THAT(text, Not(HasSubstr("\n")));
    const auto json = nlohmann::json::parse(text);
    EXPECT_EQ(json["version"], "1.2.3");
    EXPECT_EQ(json["isProcessingEnabled"], true);
    EXPECT_EQ(json["permission"], "authorized");
    EXPECT_EQ(json["saveProblem"], nullptr);
    EXPECT_EQ(json["outputs"][1],
              nlohmann::json::parse(R"({"id":"phones","name":"Phones","isDefault":false})"));
    EXPECT_EQ(json["sources"][3], nlohmann::json::parse(R"({
        "id": "org.c", "name": "Browser", "pid": 7, "bundleID": "org.c", "tap": "running", "device": "phones",
        "level": 0.5, "tempo": {"beatsPerMinute": 120, "confidence": 0.9},
        "settings": {"bandGains": [-6, 0, 0.5, 0, 0, 0, 0, 3.25], "isBypassed": false, "volume": 1,
                     "outputDeviceUID": "phones", "downmixesSurround": false}})"));
    EXPECT_FALSE(json.contains("exemptStreams"));
    EXPECT_FALSE(json.contains("readyApplications"));
    EXPECT_EQ(json["sources"][0]["pid"], nullptr);
    EXPECT_EQ(json["sources"][0]["level"], nullptr);
    EXPECT_EQ(json["sources"][0]["settings"]["outputDeviceUID"], nullptr);
    EXPECT_EQ(json["sources"][1]["level"], 0);
    EXPECT_EQ(json["sources"][1]["tempo"], nullptr);
}

TEST(StateJSON, ListsExemptStreamsWhereTheyAreTold) {
    const auto json = nlohmann::json::parse(statusJSON(stateWithExemptStreams()));
    ASSERT_THAT(json["exemptStreams"], SizeIs(3));
    EXPECT_EQ(json["exemptStreams"][0], nlohmann::json::parse(R"({
        "id": "org.film", "name": "Film", "stream": "Sound", "pid": 8, "bundleID": "org.film",
        "device": "phones", "isPlaying": true, "reason": "surround",
        "explanation":
            "it has more channels than two, which the device plays; vello set ID --downmix on takes it"})"));
    EXPECT_EQ(json["exemptStreams"][1]["id"], nullptr);
    EXPECT_EQ(json["exemptStreams"][1]["device"], nullptr);
    RunningState none = exampleState();
    none.exemptStreams.emplace();
    EXPECT_THAT(nlohmann::json::parse(statusJSON(none))["exemptStreams"], SizeIs(0));
}

TEST(StateJSON, ListsReadyApplicationsWhereTheyAreTold) {
    const auto json = nlohmann::json::parse(statusJSON(stateWithReadyApplications()));
    ASSERT_THAT(json["readyApplications"], SizeIs(3));
    EXPECT_EQ(json["readyApplications"][1], nlohmann::json::parse(R"({
        "id": "org.lost", "name": "Lost", "device": null})"));
    EXPECT_EQ(json["readyApplications"][0]["device"], "phones");
    RunningState none = exampleState();
    none.readyApplications.emplace();
    EXPECT_THAT(nlohmann::json::parse(statusJSON(none))["readyApplications"], SizeIs(0));
}

TEST(StateJSON, TellsOfADownmixAndNoLevelOfATapThatIsNotConnected) {
    RunningState state = exampleState();
    state.sources[3].settings.downmixesSurround = true;
    state.sources[3].tapState = TapState::connecting;
    const auto json = nlohmann::json::parse(statusJSON(state));
    EXPECT_EQ(json["sources"][3]["settings"]["downmixesSurround"], true);
    EXPECT_EQ(json["sources"][3]["tap"], "connecting");
    EXPECT_EQ(json["sources"][3]["level"], nullptr);
}

TEST(StateJSON, ListsPresets) {
    EXPECT_EQ(nlohmann::json::parse(presetsJSON(exampleState()))[2],
              nlohmann::json::parse(
                  R"({"id":"Mine","name":"Mine","isBuiltIn":false,"bandGains":[2,2,2,2,2,2,2,2]})"));
}

TEST(StateJSON, StaysJSONWhateverTheValuesAre) {
    RunningState state = exampleState();
    state.sources[1].settings.volume = std::nan("");
    state.sources[1].source.name = "quote\" back\\slash \x01 broken\xC3";
    const auto json = nlohmann::json::parse(statusJSON(state));
    EXPECT_EQ(json["sources"][1]["settings"]["volume"], nullptr);
    EXPECT_THAT(json["sources"][1]["name"].get<std::string>(), HasSubstr("quote\" back\\slash"));
}

TEST(StateText, NamesTheOutputThatIsHeardBesideTheChosenOne) {
    RunningState state = exampleState();
    state.sources[3].deviceUID = "speakers";
    EXPECT_THAT(lines(statusText(state))[6], HasSubstr("Speakers, chosen: Phones"));
    state.sources[3].settings.outputDeviceUID = "attic";
    EXPECT_THAT(lines(statusText(state))[6], HasSubstr("Speakers, chosen: attic"));
    state.sources[3].deviceUID.reset();
    EXPECT_THAT(lines(statusText(state))[6], HasSubstr(" chosen: attic"));
}

TEST(StateText, ListsOutputs) {
    EXPECT_EQ(outputsText(exampleState()), "OUTPUT    NAME      DEFAULT\n"
                                           "speakers  Speakers  yes\n"
                                           "phones    Phones    no\n"
                                           "hdmi      Phones    no\n");
    EXPECT_THAT(nlohmann::json::parse(outputsJSON(exampleState())), SizeIs(3));
}

TEST(StateText, ListsStoredSourcesThatDoNotPlay) {
    RunningState state = exampleState();
    state.storedSources.emplace();
    EXPECT_EQ(lines(statusText(state)).back(), "No other source has settings of its own.");
    state.storedSources = {source("org.absent", "org.absent")};
    state.storedSources->front().settings = {.volume = 0.25, .outputDeviceUID = "phones"};
    EXPECT_THAT(lines(statusText(state)).back(),
                AllOf(HasSubstr("org.absent"), HasSubstr("25 %"), HasSubstr("Phones")));
    const auto json = nlohmann::json::parse(statusJSON(state))["storedSources"];
    EXPECT_EQ(json[0]["id"], "org.absent");
    EXPECT_EQ(json[0]["settings"]["volume"], 0.25);
}

// Events

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
