// SPDX-License-Identifier: Apache-2.0
#include "AudioControllerFixture.h"

namespace vello {
namespace {

using namespace std::chrono_literals;

struct ControllerHistory : Controller {
    void setVolume(double volume) {
        EQSettings settings = controller->settings("player");
        settings.volume = volume;
        controller->updateSettings(settings, "player");
    }
    double volume() const { return controller->settings("player").volume; }
    bool isKnown() const { return controller->settingsBySourceID().value().contains("player"); }
};

TEST_F(ControllerHistory, TheLastChangeOfASourceIsTakenBackAndMadeAgain) {
    startWithBoth();
    setVolume(0.5);
    mainThread.advance(1s);
    setVolume(0.25);
    EXPECT_TRUE(controller->undoSettings("player"));
    EXPECT_EQ(volume(), 0.5);
    EXPECT_TRUE(controller->undoSettings("player"));
    EXPECT_EQ(volume(), 0.25);
    mainThread.advance(500ms);
    EXPECT_EQ(stored().sources.at("player").volume, 0.25);
}

TEST_F(ControllerHistory, NothingIsTakenBackWhereNothingHasChanged) {
    startWithBoth();
    setVolume(0.5);
    EXPECT_FALSE(controller->undoSettings("browser"));
    EXPECT_EQ(volume(), 0.5);
}

TEST_F(ControllerHistory, ChangesWithinASecondOfEachOtherAreOne) {
    startWithBoth();
    for (const double volume : {0.9, 0.8, 0.7, 0.6}) {
        setVolume(volume);
        mainThread.advance(999ms);
    }
    EXPECT_TRUE(controller->undoSettings("player"));
    EXPECT_FALSE(isKnown()) << "the source had no settings before";
}

TEST_F(ControllerHistory, AChangeAfterOneThatWasTakenBackIsItsOwn) {
    startWithBoth();
    setVolume(0.5);
    controller->undoSettings("player");
    setVolume(0.25);
    EXPECT_TRUE(controller->undoSettings("player"));
    EXPECT_EQ(volume(), 1.0);
}

TEST_F(ControllerHistory, AForgottenSourceIsAsBeforeItsFirstChangeUntilThatIsTakenBack) {
    startWithBoth();
    setVolume(0.5);
    mainThread.advance(1s);
    EXPECT_TRUE(controller->forgetSource("player"));
    EXPECT_FALSE(isKnown());
    EXPECT_FALSE(controller->forgetSource("player"));
    mainThread.advance(500ms);
    EXPECT_FALSE(stored().sources.contains("player"));
    EXPECT_TRUE(controller->undoSettings("player"));
    EXPECT_EQ(volume(), 0.5);
}

} // namespace
} // namespace vello
