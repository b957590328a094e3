// SPDX-License-Identifier: Apache-2.0
#include "ControlFixture.h"

namespace vello {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct ReadyApplicationsOnTheBus : Control {
    std::vector<ReadyApplicationState> list() {
        const QDBusMessage reply = call("ListReadyApplications");
        EXPECT_THAT(reply, IsDone());
        return decodeReadyApplications(reply.arguments().value(0));
    }
};

TEST_F(ReadyApplicationsOnTheBus, AreThoseOfTheMoment) {
    applications.applications[101].localizedName = "Player\xFF";
    start();
    EXPECT_THAT(list(), IsEmpty());
    stopPlayer();
    EXPECT_THAT(list(),
                ElementsAre(ReadyApplicationState{
                    .sourceID = "org.example.player", .name = "Player\uFFFD", .deviceUID = "speakers"}));
    EXPECT_THAT(call("SetProcessingEnabled", {false}), IsDone());
    EXPECT_THAT(list(), IsEmpty());
}

TEST_F(ReadyApplicationsOnTheBus, AnUnknownDeviceIsLeftOut) {
    const std::vector<ReadyApplicationState> states{{.sourceID = "org.a", .name = "A"}};
    const MapList maps = encodeReadyApplications(states);
    ASSERT_EQ(maps.size(), 1);
    EXPECT_EQ(maps.front(), (QVariantMap{{"id", "org.a"}, {"name", "A"}}));
    EXPECT_EQ(decodeReadyApplications(QVariant::fromValue(maps)), states);
}

} // namespace
} // namespace vello
