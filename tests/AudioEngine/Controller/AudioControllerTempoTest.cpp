// SPDX-License-Identifier: Apache-2.0
#include "AudioControllerMeterFixture.h"

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;

TEST_F(ControllerMeters, EveryAudibleSourceHasATempoWhetherItIsActiveOrNot) {
    startMeters();
    writeClicksAt120(ring("player"), 6);
    writeClicksAt120(ring("browser"), 6);
    setLevel("player", 0.5F);
    tick();
    EXPECT_EQ(beats("player"), 120);
    EXPECT_EQ(controller->tempo("browser"), std::nullopt) << "it is silent";
    EXPECT_EQ(controller->tempo("nobody"), std::nullopt);
}

TEST_F(ControllerMeters, ATempoIsLookedForAtMostTwiceASecond) {
    startMeters();
    setLevel("player", 0.5F);
    tick(); // analyzed without finding a beat
    writeClicksAt120(ring("player"), 6);
    ticksWithin(499ms);
    EXPECT_EQ(controller->tempo("player"), std::nullopt);
    tick();
    EXPECT_EQ(beats("player"), 120);
}

TEST_F(ControllerMeters, ATempoHoldsFourSecondsOfFailedAnalysesAndThenDisappears) {
    findTheBeat();
    writeSilence(ring("player"), 7);
    ticksWithin(4s);
    EXPECT_EQ(beats("player"), 120);
    ticksWithin(600ms);
    EXPECT_EQ(controller->tempo("player"), std::nullopt);
}

TEST_F(ControllerMeters, ATempoThatIsFoundAgainBeginsTheFourSecondsAnew) {
    findTheBeat();
    writeSilence(ring("player"), 7);
    ticksWithin(3s);
    writeClicksAt120(ring("player"), 6);
    ticksWithin(600ms);
    writeSilence(ring("player"), 7);
    ticksWithin(3s);
    EXPECT_EQ(beats("player"), 120);
}

TEST_F(ControllerMeters, ASourceThatFallsSilentLosesItsTempoInTheSameTickAsItsLevel) {
    findTheBeat();
    setLevel("player", 0);
    std::vector<std::string> told;
    const auto levelGone = controller->levels().observe([&](const auto& now) {
        if (!now.contains("player"))
            told.emplace_back("level");
    });
    const auto tempoGone =
        controller->tempoEstimates().observe([&](const auto&) { told.emplace_back("tempo"); });
    ticksWithin(500ms);
    EXPECT_THAT(told, IsEmpty());
    tick();
    EXPECT_THAT(told, testing::UnorderedElementsAre("level", "tempo"));
}

TEST_F(ControllerMeters, ASourceThatIsHeardAgainIsAnalyzedAtOnce) {
    findTheBeat();
    setLevel("player", 0);
    ticksWithin(600ms);
    ASSERT_EQ(controller->tempo("player"), std::nullopt);
    setLevel("player", 0.5F);
    tick();
    EXPECT_EQ(beats("player"), 120);
}

TEST_F(ControllerMeters, TheTempoIsToldOnlyWhenItChanges) {
    findTheBeat();
    int told = 0;
    const auto observation = controller->tempoEstimates().observe([&](const auto&) { ++told; });
    ticksWithin(3s);
    EXPECT_EQ(told, 0);
}

TEST_F(ControllerMeters, ARebuiltTapKeepsNothingOfTheOldOnesSound) {
    findTheBeat();
    controller->setProcessingEnabled(false);
    tick();
    EXPECT_THAT(controller->tempoEstimates().value(), IsEmpty());
    EXPECT_THAT(levels(), IsEmpty());
    controller->setProcessingEnabled(true);
    tick();
    EXPECT_THAT(levels(), IsEmpty());
}

TEST_F(ControllerMeters, ARebuiltTapHasTheTempoOfItsOwnSoundOnly) {
    findTheBeat();
    controller->setProcessingEnabled(false);
    controller->setProcessingEnabled(true);
    mainThread.runPosted();          // no tick in between
    writeSilence(ring("player"), 6); // as many samples as the old ring had
    setLevel("player", 0.5F);
    ticksWithin(600ms);
    EXPECT_EQ(controller->level("player"), 0.5F);
    ticksWithin(5s);
    EXPECT_EQ(controller->tempo("player"), std::nullopt);
    writeClicksAt120(ring("player"), 6);
    ticksWithin(600ms);
    EXPECT_EQ(beats("player"), 120);
}

} // namespace
} // namespace vello
