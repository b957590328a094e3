// SPDX-License-Identifier: Apache-2.0
#include "ControlFixture.h"

namespace vello {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct ExemptStreamsOnTheBus : Control {
    EQSettings settings(const std::string& id) { return controller->settingsBySourceID().value().at(id); }
};

TEST_F(ExemptStreamsOnTheBus, SetsASourceThatHasNothingButExemptStreams) {
    hardware.addExemptStream({.exemption = StreamExemption::surround, .process = {.pid = 102}});
    start();
    EXPECT_THAT(set("org.example.browser", {{"downmixesSurround", true}}), IsDone());
    EXPECT_EQ(settings("org.example.browser"), EQSettings{.downmixesSurround = true});
    EXPECT_THAT(set("org.example.browser", {{"reset", true}}), IsDone());
    EXPECT_EQ(settings("org.example.browser"), EQSettings{.downmixesSurround = true});
    EXPECT_THAT(set("org.example.browser", {{"downmixesSurround", false}}), IsDone());
    EXPECT_EQ(settings("org.example.browser"), EQSettings{});
}

TEST_F(ExemptStreamsOnTheBus, TellsThatASourceIsDownmixed) {
    start();
    EXPECT_FALSE(state().sources[1].settings.downmixesSurround);
    EXPECT_THAT(set("org.example.player", {{"downmixesSurround", true}}), IsDone());
    EXPECT_TRUE(state().sources[1].settings.downmixesSurround);
}

TEST_F(ExemptStreamsOnTheBus, RefusesADownmixOfTheSystemAndOneThatIsNoSwitch) {
    start();
    const QString system = QString::fromStdString(std::string(kSystemSourceID));
    EXPECT_THAT(call("SetSettings", {system, QVariantMap{{"downmixesSurround", true}, {"volume", 0.5}}}),
                IsRefused("InvalidValue"));
    EXPECT_THAT(set("org.example.player", {{"downmixesSurround", 1}}), IsRefused("InvalidValue"));
    EXPECT_THAT(controller->settingsBySourceID().value(), IsEmpty());
}

TEST_F(ExemptStreamsOnTheBus, ListsTheExemptStreamsOfTheMoment) {
    start();
    const auto list = [this] {
        const QDBusMessage reply = call("ListExemptStreams");
        EXPECT_THAT(reply, IsDone());
        return decodeExemptStreams(reply.arguments().value(0));
    };
    EXPECT_THAT(list(), IsEmpty());
    hardware.addExemptStream({.name = "Film\xFF",
                              .exemption = StreamExemption::surround,
                              .process = {.pid = 102, .isRunningOutput = false, .devices = {speakers}}});
    hardware.addExemptStream({.name = "Loopback", .exemption = StreamExemption::module});
    EXPECT_THAT(list(), ElementsAre(ExemptStreamState{.sourceID = "org.example.browser",
                                                      .name = "Browser",
                                                      .streamName = "Film\uFFFD",
                                                      .pid = 102,
                                                      .bundleID = "org.example.browser",
                                                      .deviceUID = "speakers",
                                                      .isPlaying = false,
                                                      .reason = "surround"},
                                    ExemptStreamState{.sourceID = "",
                                                      .name = "Loopback",
                                                      .streamName = "Loopback",
                                                      .isPlaying = true,
                                                      .reason = "module"}));
}

} // namespace
} // namespace vello
