// SPDX-License-Identifier: Apache-2.0
// A user's day: changes in the panel are audible and persist until the next day.
#include "PanelTest.h"

#include <X11/keysym.h>

namespace vello::session {
namespace {

constexpr double kEqualizedFrequency = 1000; ///< Hz, the centre of a band
constexpr double kOtherFrequency = 250;      ///< Hz, of the application that is not equalized
constexpr double kPlayed = 0.0625;           ///< amplitude of both
constexpr std::size_t kMeasured = 12000;     ///< frames

class PanelStory : public PanelTest {
protected:
    /// Both play until the test ends. They are heard when this returns: now and then a player of PipeWire
    /// 0.3.65 that is moved while it starts stays silent for good, wherever it plays (pw-cat).
    void playTwoApplications() {
        players_.push_back(startPlayer(
            session(), PlayerKind::pulseAudio,
            {.name = "one", .applicationID = "org.example.one", .signal = "sines=1000@0.0625"}, 60));
        players_.push_back(startPlayer(
            session(), PlayerKind::commandLine,
            {.name = "two", .applicationID = "org.example.two", .signal = "sines=250@0.0625"}, 60));
        const bool areHeard = screen().waitUntil([&] {
            return std::abs(decibels(amplitude("output-a", kEqualizedFrequency) / kPlayed)) < 0.1 &&
                   std::abs(decibels(amplitude("output-a", kOtherFrequency) / kPlayed)) < 0.1;
        });
        require(areHeard, "the players are not heard");
    }
    /// Amplitude at the output from now on.
    double amplitude(const std::string& output, double frequency) {
        auto& recorder = monitor(output);
        const auto start = recorder.frames();
        recorder.record(kMeasured);
        return recorder.recording(start).amplitude(frequency, 0, kMeasured, 0);
    }
    /// The level relative to what the applications play, in dB, as soon as it is stable.
    double level(const std::string& output, double frequency) {
        double last = 1e9;
        double now = 0;
        const bool isStill = screen().waitUntil([&] {
            last = now;
            now = decibels(amplitude(output, frequency) / kPlayed);
            return std::abs(now - last) < 0.01;
        });
        require(isStill, "the level does not hold still");
        return now;
    }
    double bandValue() { return desktop().accessibleTree().value(await("slider", "1K hertz band gain")); }
    bool isEqualizerOn() {
        return desktop().accessibleTree().is(await("", "EQ enabled for one"), AccessibleState::checked);
    }
    /// Drags the thumb of the band from its position to a share of the slider's height, from the top.
    void dragBand(double share) {
        const QRect slider = desktop().accessibleTree().extents(await("slider", "1K hertz band gain"));
        screen().drag(slider.center(),
                      {slider.center().x(), slider.top() + static_cast<int>(share * slider.height())});
    }

private:
    std::vector<std::unique_ptr<ChildProcess>> players_;
};

TEST_F(PanelStory, IsHeardAsItIsShownAndIsThereAgainAfterAQuit) {
    openDesktop();
    playTwoApplications();
    startPanel();
    awaitOpen();
    ASSERT_TRUE(awaitTapped("one"));
    ASSERT_TRUE(awaitTapped("two"));
    EXPECT_NEAR(level("output-a", kEqualizedFrequency), 0, 0.1);

    clickOn("", "one, collapsed");
    dragBand(0.2);
    const double shown = bandValue();
    EXPECT_NEAR(shown, 7.2, 0.3);
    EXPECT_NEAR(level("output-a", kEqualizedFrequency), shown, 1);
    EXPECT_NEAR(level("output-a", kOtherFrequency), 0, 0.1);

    clickOn("push button", "Save");
    const auto field = await("", "Preset name");
    EXPECT_TRUE(desktop().accessibleTree().is(field, AccessibleState::focused));
    screen().type("Morning run");
    screen().pressKeys({XK_Return});
    await("", "Morning run");

    clickOn("", "Output route");
    clickOn("menu item", "Output B");
    EXPECT_NEAR(level("output-b", kEqualizedFrequency), shown, 1);

    clickOn("", "EQ enabled for one");
    EXPECT_NEAR(level("output-b", kEqualizedFrequency), 0, 0.1);
    EXPECT_FALSE(isEqualizerOn());

    screen().pressKeys({XK_Control_L, XK_q});
    expectQuit();
    forgetMonitors();
    startPanel();
    awaitOpen();
    clickOn("", "one, collapsed");
    await("", "Morning run");
    EXPECT_EQ(bandValue(), shown);
    EXPECT_FALSE(isEqualizerOn());
    ASSERT_TRUE(awaitTapped("one"));
    EXPECT_NEAR(level("output-b", kEqualizedFrequency), 0, 0.1);
    clickOn("", "EQ enabled for one");
    EXPECT_NEAR(level("output-b", kEqualizedFrequency), shown, 1);
}

} // namespace
} // namespace vello::session
