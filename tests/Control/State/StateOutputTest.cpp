// SPDX-License-Identifier: Apache-2.0
#include "Control/State/ExemptionWords.h"
#include "Control/State/StateJSON.h"
#include "Control/State/StateText.h"
#include "Foundation/Text.h"

#include "ExampleStates.h"

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

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> all;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        all.push_back(line);
    return all;
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

} // namespace
} // namespace vello
