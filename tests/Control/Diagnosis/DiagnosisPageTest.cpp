// SPDX-License-Identifier: Apache-2.0
#include "Control/Diagnosis/DiagnosisPage.h"

#include "HealthySession.h"

#include <gmock/gmock.h>

#include <string>

namespace vello {
namespace {

using testing::AllOf;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string page(const DiagnosisFacts& facts, ApplicationNames names = ApplicationNames::hidden) {
    return diagnosisPage(facts, findTroubles(facts), names);
}

/// The line of the page that the player's stream has.
std::string playersLine(const DiagnosisFacts& facts) {
    const std::string text = page(facts);
    const auto begin = text.find("application 1");
    return begin == std::string::npos ? "" : text.substr(begin, text.find('\n', begin) - begin);
}

TEST(DiagnosisPage, SaysFirstWhatIsWrong) {
    DiagnosisFacts facts = healthySession();
    EXPECT_THAT(page(facts), StartsWith("No trouble found.\n"));
    facts.consent = Consent::denied;
    facts.hasTrayHost = false;
    EXPECT_THAT(page(facts), AllOf(StartsWith("Trouble: the consent to capture"), HasSubstr("\nAlso: ")));
}

TEST(DiagnosisPage, HasVersionsDevicesAndMeasurements) {
    EXPECT_THAT(page(healthySession()),
                AllOf(ContainsRegex("VELLO +1.0.0"), ContainsRegex("PipeWire +0.3.65, library 0.3.65"),
                      ContainsRegex("Session manager +WirePlumber 0.4.13"), ContainsRegex("Qt +6.4.2"),
                      ContainsRegex("Kernel +Linux 6.1.0"), ContainsRegex("Distribution +Debian"),
                      ContainsRegex("Xruns since start +7"), ContainsRegex("Realtime priority +granted"),
                      ContainsRegex("speakers +Speakers +yes"), ContainsRegex("5000.0 MB free")));
}

TEST(DiagnosisPage, SaysWhereAStreamGoes) {
    EXPECT_THAT(playersLine(healthySession()),
                ContainsRegex("application 1 +yes +VELLO, then Speakers +equalized"));
}

TEST(DiagnosisPage, SaysWhyAStreamIsNotEqualized) {
    DiagnosisFacts facts = healthySession();
    facts.server.links = {{2, 1}};
    EXPECT_THAT(playersLine(facts), ContainsRegex("Speakers +not equalized yet"));
    facts.server.nodes[1].isRunning = false;
    EXPECT_THAT(playersLine(facts), HasSubstr("it does not play"));
    facts.instance.state.exemptStreams->push_back(
        {.sourceID = "", .name = "Music Player", .streamName = "Secret Song", .reason = "exclusive"});
    EXPECT_THAT(playersLine(facts), HasSubstr("left as it is: its application has the device for itself"));
    facts.server.mayRedirect = false;
    EXPECT_THAT(playersLine(facts), HasSubstr("VELLO has no right to redirect it"));
    facts.instance.state.consent = Consent::denied;
    EXPECT_THAT(playersLine(facts), HasSubstr("the consent is missing"));
    facts.instance.state.isProcessingEnabled = false;
    EXPECT_THAT(playersLine(facts), HasSubstr("VELLO is switched off"));
    facts.instance.answer = InstanceFacts::Answer::silent;
    EXPECT_THAT(playersLine(facts), HasSubstr("VELLO does not answer"));
    facts.instance.answer = InstanceFacts::Answer::notRunning;
    EXPECT_THAT(playersLine(facts), HasSubstr("VELLO is not running"));
}

class Names : public testing::Test {
protected:
    Names() {
        facts.lastErrors = {"14:00:00 TapConnection: Tap for Music Player is not connected",
                            "14:00:01 TapCoordinator: Tap activation failed for Gone Game: error",
                            "14:00:02 SettingsStore: Failed to save settings: no space"};
        facts.instance.state.sources = {
            {.source = {.id = "org.example.music", .pid = 100, .name = "Music Player", .bundleID = {}},
             .settings = {}}};
    }
    DiagnosisFacts facts = healthySession();
};

TEST_F(Names, OfApplicationsAreHidden) {
    facts.lastErrors.emplace_back("14:00:03 X: org.example.music plays Secret Song");
    const std::string text = page(facts);
    for (const char* name : {"Music", "music", "Secret", "player", "Gone", "Game"})
        EXPECT_THAT(text, Not(HasSubstr(name)));
    EXPECT_THAT(text, AllOf(HasSubstr("Tap for application 1 is not connected"),
                            HasSubstr("Tap activation failed for an application\n"),
                            HasSubstr("Failed to save settings: no space")));
}

TEST_F(Names, OfApplicationsAreShownOnRequest) {
    EXPECT_THAT(page(facts, ApplicationNames::shown),
                AllOf(HasSubstr("Music Player"), HasSubstr("Secret Song"),
                      HasSubstr("Tap activation failed for Gone Game: error")));
}

TEST(DiagnosisPage, StaysWithoutAnySession) {
    DiagnosisFacts facts;
    EXPECT_THAT(page(facts),
                AllOf(StartsWith("Trouble: PipeWire is not running"), HasSubstr("No device."),
                      HasSubstr("No application has a stream."), HasSubstr("No error is known.")));
}

TEST(DiagnosisPage, IsSafeForATerminal) {
    DiagnosisFacts facts = healthySession();
    facts.server.nodes[0].description = "Spea\x1b[2Jkers\n";
    facts.lastErrors = {"evil\x1b[2J"};
    EXPECT_THAT(page(facts, ApplicationNames::shown), Not(HasSubstr("\x1b")));
}

} // namespace
} // namespace vello
