// SPDX-License-Identifier: Apache-2.0
// The panel as used by a blind user: with a screen reader, and by keyboard alone.
#include "PanelTest.h"
#include "PrivateBus.h"

#include "support/TemporaryFolder.h"

#include <QtGlobal>

#include <X11/keysym.h>

namespace vello::session {
namespace {

class PanelForScreenReaders : public PanelTest {
protected:
    /// The panel with one playing application, at two beats a second.
    void openPanel() {
        openDesktop();
        player_ = startPlayer(
            session(), PlayerKind::pulseAudio,
            {.name = "one", .applicationID = "org.example.one", .signal = "sines=1000,1002@0.0625"}, 90);
        startPanel();
        awaitOpen();
        await("", "one, collapsed");
    }
    const AccessibleTree& tree() { return desktop().accessibleTree(); }
    void act(const std::string& role, const std::string& name, const std::string& action) {
        tree().act(await(role, name), action);
    }
    /// Waits until the control has that description.
    void awaitDescription(const std::string& name, const std::string& description) {
        const auto element = await("", name);
        require(screen().waitUntil([&] { return tree().description(element) == description; }),
                std::string(name).append(" does not say ").append(description));
    }
    void awaitState(const std::string& name, AccessibleState state, bool expected) {
        const auto element = await("", name);
        require(screen().waitUntil([&] { return tree().is(element, state) == expected; }),
                std::string(name).append(expected ? " does not become so" : " does not cease to be so"));
    }
    void awaitGone(const std::string& name) {
        require(screen().waitUntil([&] { return !find("", name); }), std::string(name).append(" stays"));
    }
    bool isFocused(const std::string& name) {
        const auto element = find("", name);
        return element && tree().is(*element, AccessibleState::focused);
    }
    void tabTo(const std::string& name) {
        for (int count = 0; count < 30 && !isFocused(name); ++count) {
            screen().pressKeys({XK_Tab});
            // Waits until the focus has moved, before the next key.
            screen().waitUntil([&] { return isFocused(name); }, 150ms);
        }
        require(isFocused(name), std::string("Tab does not reach ").append(name));
    }

private:
    std::unique_ptr<ChildProcess> player_;
};

TEST_F(PanelForScreenReaders, ReadEveryControlOfTheListAndOfAnOpenCard) {
    openPanel();
    for (const auto& [role, name] :
         std::vector<std::pair<std::string, std::string>>{{"panel", "VELLO by QUORVIN"},
                                                          {"push button", "About VELLO"},
                                                          {"heading", "VELLO"},
                                                          {"check box", "Equalizing enabled"},
                                                          {"push button", "System, collapsed"},
                                                          {"check box", "EQ enabled for System"},
                                                          {"check box", "EQ enabled for one"},
                                                          {"check box", "Launch at Login"},
                                                          {"label", "By QUORVIN"},
                                                          {"push button", "Quit"}})
        EXPECT_NO_THROW(await(role, name)) << name;
    act("push button", "one, collapsed", "Press");
    await("push button", "one, expanded");
    EXPECT_FALSE(find("", "one, collapsed"));
    for (const char* band : {"63", "125", "250", "500", "1K", "2K", "4K", "8K"}) {
        const auto slider = await("slider", std::string(band).append(" hertz band gain"));
        EXPECT_EQ(tree().value(slider), 0.0);
        EXPECT_EQ(tree().description(slider), "0 decibels");
    }
    for (const auto& [role, name] :
         std::vector<std::pair<std::string, std::string>>{{"push button", "Flat"},
                                                          {"push button", "Reset"},
                                                          {"push button", "Output route"},
                                                          {"slider", "Volume"},
                                                          {"label", "120 beats per minute"}})
        EXPECT_NO_THROW(await(role, name)) << name;
    EXPECT_EQ(tree().description(await("", "one, expanded")), "Follows System");
    EXPECT_EQ(tree().description(await("push button", "Flat")), "Follows System: Flat");
    EXPECT_EQ(tree().description(await("", "System, collapsed")), "");
    EXPECT_FALSE(find("", "Save"));
    EXPECT_FALSE(find("", "+12")) << "the scale is for the eye";
}

TEST_F(PanelForScreenReaders, StepABandAndHearItsDecibels) {
    openPanel();
    act("", "one, collapsed", "Press");
    const auto slider = await("slider", "63 hertz band gain");
    tree().act(slider, "Increase");
    awaitDescription("63 hertz band gain", "1 decibels");
    awaitDescription("one, expanded", ""); // it no longer follows the system entry
    EXPECT_EQ(tree().value(slider), 1.0);
    tree().setValue(slider, 3.4);
    awaitDescription("63 hertz band gain", "3 decibels");
    tree().act(slider, "Decrease");
    awaitDescription("63 hertz band gain", "2 decibels");
    EXPECT_NEAR(tree().value(slider), 2.4, 1e-9);
    tree().setValue(slider, -40.0);
    awaitDescription("63 hertz band gain", "-12 decibels");
}

TEST_F(PanelForScreenReaders, SwitchAnEqualizerOffAndOnAgain) {
    openPanel();
    awaitState("EQ enabled for one", AccessibleState::checked, true);
    act("check box", "EQ enabled for one", "Toggle");
    awaitState("EQ enabled for one", AccessibleState::checked, false);
    act("check box", "EQ enabled for one", "Toggle");
    awaitState("EQ enabled for one", AccessibleState::checked, true);
    act("check box", "Equalizing enabled", "Toggle");
    awaitState("Equalizing enabled", AccessibleState::checked, false);
}

// Qt before 6.8 does not tell screen readers what is disabled.
#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0)
TEST_F(PanelForScreenReaders, HearThatTheBandsOfABypassedCardAreDisabled) {
    openPanel();
    act("", "one, collapsed", "Press");
    const std::string band = "63 hertz band gain";
    awaitState(band, AccessibleState::enabled, true);
    act("check box", "EQ enabled for one", "Toggle");
    awaitState(band, AccessibleState::enabled, false);
    act("check box", "EQ enabled for one", "Toggle");
    awaitState(band, AccessibleState::enabled, true);
}
#endif

TEST_F(PanelForScreenReaders, NameAndCancelAPresetAndRouteAnApplication) {
    openPanel();
    act("", "one, collapsed", "Press");
    tree().act(await("slider", "63 hertz band gain"), "Increase");
    await("push button", "Custom");
    act("push button", "Save", "Press");
    await("", "Preset name");
    act("push button", "Cancel saving preset", "Press");
    awaitGone("Preset name");
    act("push button", "Output route", "Press");
    act("menu item", "Output B", "Press");
    awaitGone("Output B");
    act("", "one, expanded", "Press");
    await("label", "Output: Output B");
}

TEST_F(PanelForScreenReaders, SaveAndDeleteAPreset) {
    openPanel();
    act("", "one, collapsed", "Press");
    tree().act(await("slider", "63 hertz band gain"), "Increase");
    act("push button", "Save", "Press");
    await("", "Preset name");
    screen().type("Mine");
    screen().pressKeys({XK_Return});
    act("push button", "Mine", "Press");
    await("menu item", "Import…");
    // To the entry before the last one; a preset of the user has controls while it is marked.
    screen().pressKeys({XK_Up});
    screen().pressKeys({XK_Up});
    await("push button", "Rename Mine");
    act("push button", "Delete Mine", "Press");
    awaitGone("Delete Mine");
    screen().pressKeys({XK_Escape});
    await("push button", "Custom");
}

TEST_F(PanelForScreenReaders, OpenAboutAndCloseItWhenItIsDone) {
    openPanel();
    act("push button", "About VELLO", "Press");
    await("", "VELLO app icon");
    for (const char* text : {"Shape each app", "Choose its output"})
        await("label", text);
    await("link", "About");
    act("push button", "Done", "Press");
    awaitGone("VELLO app icon");
}

TEST_F(PanelForScreenReaders, GoThroughThePanelByKeyboardAlone) {
    openPanel();
    tabTo("About VELLO");
    tabTo("one, collapsed");
    screen().pressKeys({XK_Return});
    await("", "one, expanded");
    tabTo("EQ enabled for one");
    screen().pressKeys({XK_space});
    awaitState("EQ enabled for one", AccessibleState::checked, false);
    screen().pressKeys({XK_space});
    awaitState("EQ enabled for one", AccessibleState::checked, true);
    tabTo("63 hertz band gain");
    screen().pressKeys({XK_Up});
    screen().pressKeys({XK_Prior});
    awaitDescription("63 hertz band gain", "4 decibels");
    screen().pressKeys({XK_Down});
    screen().pressKeys({XK_Next});
    awaitDescription("63 hertz band gain", "0 decibels");
    screen().pressKeys({XK_Next});
    screen().pressKeys({XK_Home});
    awaitDescription("63 hertz band gain", "0 decibels");
    tabTo("Quit");
    screen().pressKeys({XK_Escape});
    awaitClosed();
}

/// A session whose user has not been asked for consent yet.
class PanelWithoutConsent : public testing::Test {
protected:
    QRect place(const std::string& name, const std::string& application) {
        try {
            const auto found = desktop.accessibleTree().find(application, "", name);
            return found ? desktop.accessibleTree().extents(*found) : QRect();
        } catch (const std::runtime_error&) {
            return {}; // an element or a program vanished while the tree was read
        }
    }
    bool shows(const std::string& name, const std::string& application = "VELLO") {
        return desktop.screen().waitUntil([&] { return !place(name, application).isEmpty(); });
    }
    /// Clicks on a control in the middle once it is at rest.
    void clickOn(const std::string& name, const std::string& application = "VELLO") {
        QRect before;
        ASSERT_TRUE(desktop.screen().waitUntil([&] {
            const QRect now = place(name, application);
            return !now.isEmpty() && now == std::exchange(before, now);
        })) << name;
        desktop.screen().click(before.center());
    }

    TemporaryFolder folder;
    PrivateBus bus{folder.path()};
    PrivateDesktop desktop{bus.environment(), folder.path()};
};

TEST_F(PanelWithoutConsent, OffersScreenReadersToAllowTheCapture) {
    const auto panel = desktop.start("panel", {VELLO_PROGRAM});
    EXPECT_TRUE(shows("Allow Access"))
        << panel->output() << describe(desktop.accessibleTree().elements("VELLO"));
    EXPECT_TRUE(shows("VELLO needs System Audio access"));
    EXPECT_FALSE(desktop.accessibleTree().find("VELLO", "", "Equalizing enabled"));
    EXPECT_FALSE(desktop.accessibleTree().find("VELLO", "", "System, collapsed"));
}

TEST_F(PanelWithoutConsent, StaysOpenDuringTheQuestionAndShowsEachAnswerAtOnce) {
    const std::string question = "vello-consent-question";
    const auto panel = desktop.start("panel", {VELLO_PROGRAM});
    clickOn("Allow Access");
    clickOn("Don’t Allow", question);
    EXPECT_TRUE(shows("Ask Again…")) << "the denied view";
    clickOn("Ask Again…");
    clickOn("Allow", question);
    EXPECT_TRUE(shows("System, collapsed")) << "the list";
    EXPECT_TRUE(desktop.screen().window("VELLO by QUORVIN"));
    desktop.screen().click({200, 600});
    EXPECT_TRUE(desktop.screen().waitUntil([&] { return !desktop.screen().window("VELLO by QUORVIN"); }))
        << "with the answer the panel closes as usual";
    expectNoToolkitWarnings(panel->output());
}

} // namespace
} // namespace vello::session
