// SPDX-License-Identifier: Apache-2.0
// A day of a user: what is done in the panel is heard, and is there again tomorrow.
#include "PanelTest.h"

#include <X11/keysym.h>

namespace vello::session {
namespace {

constexpr double equalizedFrequency = 1000; ///< Hz, the centre of a band
constexpr double otherFrequency = 250;      ///< Hz, of the application that is left alone
constexpr double played = 0.0625;           ///< amplitude of both
constexpr std::size_t measured = 12000;     ///< frames

class PanelStory : public PanelTest {
protected:
    /// Plays until the test ends.
    void playTwoApplications() {
        players_.push_back(startPlayer(
            session(), PlayerKind::pulseAudio,
            {.name = "one", .applicationID = "org.example.one", .signal = "sines=1000@0.0625"}, 60));
        players_.push_back(startPlayer(
            session(), PlayerKind::commandLine,
            {.name = "two", .applicationID = "org.example.two", .signal = "sines=250@0.0625"}, 60));
    }
    /// Amplitude at the output, of what it plays from now on.
    double amplitude(const std::string& output, double frequency) {
        auto& recorder = monitor(output);
        const auto start = recorder.frames();
        recorder.record(measured);
        return recorder.recording(start).amplitude(frequency, 0, measured, 0);
    }
    /// The same in dB of what the applications play, as soon as it holds still.
    double level(const std::string& output, double frequency) {
        double last = 1e9;
        double now = 0;
        const bool isStill = screen().waitUntil([&] {
            last = now;
            now = decibels(amplitude(output, frequency) / played);
            return std::abs(now - last) < 0.01;
        });
        require(isStill, "the level does not hold still");
        return now;
    }
    double bandValue() { return desktop().accessibleTree().value(await("slider", "1K hertz band gain")); }
    bool isEqualizerOn() {
        return desktop().accessibleTree().is(await("", "EQ enabled for one"), AccessibleState::checked);
    }
    /// Drags the thumb of the band from where it is to a share of the slider's height, counted from the top.
    void dragBand(double share) {
        const QRect slider = desktop().accessibleTree().extents(await("slider", "1K hertz band gain"));
        screen().drag(slider.center(),
                      {slider.center().x(), slider.top() + static_cast<int>(share * slider.height())});
    }

private:
    std::vector<std::unique_ptr<ChildProcess>> players_;
};

TEST_F(PanelStory, isHeardAsItIsShownAndIsThereAgainAfterAQuit) {
    openDesktop();
    playTwoApplications();
    startPanel();
    awaitOpen();
    ASSERT_TRUE(awaitTapped("one"));
    ASSERT_TRUE(awaitTapped("two"));
    EXPECT_NEAR(level("output-a", equalizedFrequency), 0, 0.1);

    clickOn("", "one, collapsed");
    dragBand(0.2);
    const double shown = bandValue();
    EXPECT_NEAR(shown, 7.2, 0.3);
    EXPECT_NEAR(level("output-a", equalizedFrequency), shown, 1);
    EXPECT_NEAR(level("output-a", otherFrequency), 0, 0.1);

    clickOn("push button", "Save");
    const auto field = await("", "Preset name");
    EXPECT_TRUE(desktop().accessibleTree().is(field, AccessibleState::focused));
    screen().type("Morning run");
    screen().pressKeys({XK_Return});
    await("", "Morning run");

    clickOn("", "Output route");
    clickOn("menu item", "Output B");
    EXPECT_NEAR(level("output-b", equalizedFrequency), shown, 1);

    clickOn("", "EQ enabled for one");
    EXPECT_NEAR(level("output-b", equalizedFrequency), 0, 0.1);
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
    EXPECT_NEAR(level("output-b", equalizedFrequency), 0, 0.1);
    clickOn("", "EQ enabled for one");
    EXPECT_NEAR(level("output-b", equalizedFrequency), shown, 1);
}

} // namespace
} // namespace vello::session
