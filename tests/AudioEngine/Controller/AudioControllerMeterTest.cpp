// SPDX-License-Identifier: Apache-2.0
#include "AudioControllerMeterFixture.h"

#include "AudioEngine/Controller/MeterAudience.h"
#include "AudioEngine/Realtime/HostTime.h"

namespace vello {
namespace {

using namespace std::chrono_literals;
using testing::Each;
using testing::ElementsAre;
using testing::FloatEq;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

// The loop

TEST_F(ControllerMeters, NothingIsMeasuredUntilSomebodyAsks) {
    startWithBoth();
    setLevel("player", 0.5F);
    mainThread.advance(4s);
    EXPECT_THAT(levels(), IsEmpty());
}

TEST_F(ControllerMeters, TheFirstTickIsOnePeriodAfterTheStart) {
    startMeters();
    setLevel("player", 0.5F);
    mainThread.advance(kTick - 1ns);
    EXPECT_THAT(levels(), IsEmpty());
    mainThread.advance(1ns);
    EXPECT_THAT(levels(), ElementsAre(Pair("player", 0.5F)));
}

TEST_F(ControllerMeters, StartingTwiceTicksNoMoreOften) {
    startMeters();
    const std::size_t tasks = mainThread.pendingTaskCount();
    controller->startMeterUpdates();
    EXPECT_EQ(mainThread.pendingTaskCount(), tasks);
    tick();
    EXPECT_EQ(mainThread.pendingTaskCount(), tasks);
}

TEST_F(ControllerMeters, StoppedMetersKeepWhatTheyShowed) {
    startMeters();
    setLevel("player", 0.5F);
    tick();
    controller->stopMeterUpdates();
    setLevel("player", 0.25F);
    mainThread.advance(1s);
    EXPECT_THAT(levels(), ElementsAre(Pair("player", 0.5F)));
    controller->startMeterUpdates();
    tick();
    EXPECT_THAT(levels(), ElementsAre(Pair("player", 0.25F)));
}

TEST_F(ControllerMeters, AnObserverMayStopTheMeters) {
    startMeters();
    setLevel("player", 0.5F);
    const auto observation =
        controller->levels().observe([&](const auto&) { controller->stopMeterUpdates(); });
    const std::size_t tasks = mainThread.pendingTaskCount();
    tick();
    EXPECT_EQ(mainThread.pendingTaskCount(), tasks - 1);
}

TEST_F(ControllerMeters, AnObserverMayChangeTheTaps) {
    startMeters();
    setLevel("player", 0.5F);
    const auto observation =
        controller->levels().observe([&](const auto&) { controller->setProcessingEnabled(false); });
    tick(2);
    EXPECT_THAT(levels(), IsEmpty());
}

TEST_F(ControllerMeters, LevelsAreToldOncePerTickAndOnlyWhenTheyChange) {
    startMeters();
    int told = 0;
    const auto observation = controller->levels().observe([&](const auto&) { ++told; });
    tick(3);
    EXPECT_EQ(told, 0);
    setLevel("player", 0.5F);
    setLevel("browser", 0.25F);
    tick(3);
    EXPECT_EQ(told, 1);
    EXPECT_THAT(levels(), ElementsAre(Pair("browser", 0.25F), Pair("player", 0.5F)));
}

// Levels

TEST_F(ControllerMeters, WithoutTapsThereAreNoLevelsAndTheSpectrumDecaysByAFifthATick) {
    startMeters();
    writeSine(ring("player"), 1000, 0.5);
    setLevel("player", 0.5F);
    controller->setActiveSource("player");
    tick();
    const auto before = spectrum();
    ASSERT_EQ(before[4], 1.0F);
    controller->setProcessingEnabled(false);
    tick();
    EXPECT_THAT(levels(), IsEmpty());
    for (std::size_t band = 0; band < before.size(); ++band)
        EXPECT_FLOAT_EQ(spectrum()[band], 0.8F * before[band]);
    tick(50);
    EXPECT_THAT(spectrum(), Each(testing::Lt(1e-4F)));
}

TEST_F(ControllerMeters, ALevelIsAtMostOne) {
    startMeters();
    setLevel("player", 3.5F);
    tick();
    EXPECT_EQ(controller->level("player"), 1.0F);
}

// Clipping

TEST_F(ControllerMeters, ASourceThatClippedIsNamedForThreeSeconds) {
    startMeters();
    tick();
    EXPECT_THAT(controller->clippingSources().value(), IsEmpty());
    context("player").lastClippedHostTime = hostTime(mainThread.now());
    const auto clipped = mainThread.now();
    tick();
    EXPECT_THAT(controller->clippingSources().value(), ElementsAre("player"));
    while (mainThread.now() + kTick <= clipped + 3s) {
        tick();
        ASSERT_THAT(controller->clippingSources().value(), ElementsAre("player"));
    }
    tick();
    EXPECT_THAT(controller->clippingSources().value(), IsEmpty());
}

TEST_F(ControllerMeters, ClippingIsToldOnlyWhenItBeginsAndEnds) {
    startMeters();
    int told = 0;
    const auto observation = controller->clippingSources().observe([&](const auto&) { ++told; });
    tick(2);
    EXPECT_EQ(told, 0);
    for (int again = 0; again < 3; ++again) {
        context("player").lastClippedHostTime = hostTime(mainThread.now());
        tick();
    }
    EXPECT_EQ(told, 1);
    ticksWithin(4s);
    EXPECT_EQ(told, 2);
}

TEST_F(ControllerMeters, ASourceWithoutATapNoLongerClips) {
    startMeters();
    context("player").lastClippedHostTime = hostTime(mainThread.now());
    tick();
    controller->setProcessingEnabled(false);
    tick();
    EXPECT_THAT(controller->clippingSources().value(), IsEmpty());
}

TEST_F(ControllerMeters, ASourceThatWasNeverHeardHasNoLevel) {
    startMeters();
    setLevel("player", 0.0001F);
    tick();
    EXPECT_EQ(controller->level("player"), std::nullopt);
    setLevel("player", std::nextafter(0.0001F, 1.0F));
    tick();
    EXPECT_TRUE(controller->level("player").has_value());
    EXPECT_EQ(controller->level("nobody"), std::nullopt);
}

TEST_F(ControllerMeters, ASourceThatFallsSilentShowsItsCurrentLevelForHalfASecondAndThenNone) {
    startMeters();
    setLevel("player", 0.5F);
    tick();
    setLevel("player", 0.00005F);
    ticksWithin(500ms);
    EXPECT_EQ(controller->level("player"), 0.00005F);
    tick();
    EXPECT_EQ(controller->level("player"), std::nullopt);
    tick(100);
    EXPECT_EQ(controller->level("player"), std::nullopt);
}

TEST_F(ControllerMeters, TheHoldLastsHalfASecondToTheNanosecond) {
    for (const auto& [silence, level] :
         {std::pair{500ms + 0ns, std::optional(0.0F)}, {500ms + 1ns, std::nullopt}}) {
        startMeters();
        setLevel("player", 0.5F);
        tick();
        setLevel("player", 0);
        controller->stopMeterUpdates();
        mainThread.advance(silence - kTick);
        controller->startMeterUpdates();
        mainThread.advance(kTick);
        EXPECT_EQ(controller->level("player"), level);
        controller.reset();
    }
}

TEST_F(ControllerMeters, EveryAudibleTickBeginsTheHoldAnew) {
    startMeters();
    setLevel("player", 0.5F);
    tick(100);
    setLevel("player", 0);
    ticksWithin(500ms);
    EXPECT_TRUE(controller->level("player").has_value());
}

TEST_F(ControllerMeters, ATapThatStillStartsHasNoLevel) {
    hardware.setReadsUntilAlive(5);
    startWithBoth();
    controller->startMeterUpdates();
    tick();
    EXPECT_THAT(controller->taps(), SizeIs(2));
    EXPECT_THAT(levels(), IsEmpty());
}

TEST_F(ControllerMeters, AnApplicationThatEndsLosesItsLevelAndTempoAtOnceAlsoWithoutATick) {
    hardware.addProcess({.pid = 102});
    start();
    const AudioObjectID process = play(101);
    controller->startMeterUpdates();
    writeClicksAt120(ring("player"), 6);
    setLevel("player", 0.5F);
    setLevel("browser", 0.5F);
    tick();
    ASSERT_EQ(beats("player"), 120);
    controller->stopMeterUpdates();
    stop(process);
    EXPECT_THAT(levels(), ElementsAre(Pair("browser", 0.5F)));
    EXPECT_EQ(controller->tempo("player"), std::nullopt);
}

TEST_F(ControllerMeters, ASourceThatComesBackIsNotHeldFromItsFormerLife) {
    start();
    const auto begin = mainThread.now();
    const AudioObjectID process = play(101);
    controller->startMeterUpdates();
    setLevel("player", 0.5F);
    mainThread.advance(begin + 1999ms - mainThread.now());
    hardware.removeObject(process);
    mainThread.advance(1ms); // the monitor polls
    EXPECT_EQ(tap("player"), nullptr);
    hardware.addProcess({.pid = 101});
    mainThread.advance(300ms);
    ASSERT_NE(tap("player"), nullptr);
    ASSERT_NE(tap("player")->realtimeContext(), nullptr);
    EXPECT_EQ(controller->level("player"), std::nullopt);
}

// Spectrum

TEST_F(ControllerMeters, TheSpectrumIsThatOfTheActiveSource) {
    startMeters();
    writeSine(ring("player"), 1000, 0.5);
    writeSine(ring("browser"), 63, 0.5);
    tick();
    EXPECT_THAT(spectrum(), Each(0.0F));
    controller->setActiveSource("player");
    tick();
    const auto magnitudes =
        SpectrumAnalyzer().bandMagnitudes(ring("player"), 48000, context("player").channelCount);
    EXPECT_EQ(spectrum(), magnitudes);
    EXPECT_EQ(spectrum()[4], 1.0F);
}

TEST_F(ControllerMeters, TheSpectrumRisesAtOnceAndFallsByAFifthOfTheDifference) {
    startMeters();
    controller->setActiveSource("player");
    writeSine(ring("player"), 1000, 0.5);
    tick();
    const auto loud = spectrum();
    writeSine(ring("player"), 1000, 0.0001);
    const auto quiet = *SpectrumAnalyzer().bandMagnitudes(ring("player"), 48000, 2);
    ASSERT_GT(quiet[4], 0.1F);
    ASSERT_LT(quiet[4], 0.9F);
    tick();
    for (std::size_t band = 0; band < loud.size(); ++band)
        EXPECT_FLOAT_EQ(spectrum()[band], 0.8F * loud[band] + 0.2F * quiet[band]);
    writeSine(ring("player"), 1000, 0.5);
    tick();
    EXPECT_EQ(spectrum()[4], loud[4]);
}

TEST_F(ControllerMeters, AnActiveSourceWithoutEnoughSoundLetsTheSpectrumDecay) {
    startMeters();
    controller->setActiveSource("player");
    writeSine(ring("player"), 1000, 0.5);
    tick();
    for (const char* id : {"browser", "nobody", "eq-by-quorvin.system.master"}) {
        const float before = spectrum()[4];
        controller->setActiveSource(id);
        tick();
        EXPECT_FLOAT_EQ(spectrum()[4], 0.8F * before) << id;
    }
}

TEST_F(ControllerMeters, TheSpectrumNeedsNoAudibleLevel) {
    startMeters();
    controller->setActiveSource("player");
    writeSine(ring("player"), 1000, 0.5);
    setLevel("player", 0);
    tick();
    EXPECT_EQ(spectrum()[4], 1.0F);
}

// Meter audience

TEST_F(ControllerMeters, TheMetersRunWhileAnybodyLooks) {
    startWithBoth();
    const std::size_t idle = mainThread.pendingTaskCount();
    MeterAudience audience(*controller);
    EXPECT_EQ(mainThread.pendingTaskCount(), idle);
    auto panel = audience.join();
    auto script = audience.join();
    EXPECT_EQ(mainThread.pendingTaskCount(), idle + 1);
    panel.reset();
    EXPECT_EQ(mainThread.pendingTaskCount(), idle + 1);
    setLevel("player", 0.5F);
    tick();
    EXPECT_THAT(levels(), SizeIs(1));
    script.reset();
    EXPECT_EQ(mainThread.pendingTaskCount(), idle);
    panel = audience.join();
    EXPECT_EQ(mainThread.pendingTaskCount(), idle + 1);
}

TEST_F(ControllerMeters, LookingAwayFromWithinATickIsHarmless) {
    startWithBoth();
    const std::size_t idle = mainThread.pendingTaskCount();
    MeterAudience audience(*controller);
    auto panel = audience.join();
    setLevel("player", 0.5F);
    const auto observation = controller->levels().observe([&](const auto&) { panel.reset(); });
    tick();
    EXPECT_EQ(mainThread.pendingTaskCount(), idle);
}

// Idle

TEST_F(ControllerMeters, WhileNobodyLooksOnlyThePollAndTheWatchdogWakeIt) {
    startWithBoth();
    mainThread.advance(10s);
    for (const auto& [id, tap] : controller->taps())
        tap->realtimeContext()->lastCallbackHostTime = hostTime(mainThread.now() + 1min);
    const std::size_t before = mainThread.runTaskCount();
    mainThread.advance(60s);
    EXPECT_EQ(mainThread.runTaskCount() - before, 60U + 30U);
    EXPECT_EQ(mainThread.pendingTaskCount(), 2U);
}

TEST_F(ControllerMeters, EveryUpdateIsToldOnceAfterItsValues) {
    startMeters();
    setLevel("player", 0.25F);
    std::vector<std::string> told;
    const auto levels = controller->levels().observe([&](const auto&) { told.emplace_back("levels"); });
    const auto updates =
        controller->metersUpdatedAt().observe([&](const auto&) { told.emplace_back("update"); });
    tick(3);
    EXPECT_THAT(told, testing::ElementsAre("levels", "update", "update", "update"));
    EXPECT_EQ(controller->metersUpdatedAt().value(), mainThread.now());
}

} // namespace
} // namespace vello
