// SPDX-License-Identifier: Apache-2.0
#include "PanelQuickTest.h"

#include <gmock/gmock.h>
#include <QAccessible>
#include <QSignalSpy>

#include <algorithm>

namespace vello {
namespace {

/// The panel without a pointer: operated by keyboard and as by a screen reader.
class PanelKeyboardTest : public PanelQuickTest {
protected:
    static QString nameOf(QObject* object) {
        QAccessibleInterface* const face = object ? QAccessible::queryAccessibleInterface(object) : nullptr;
        return face ? face->text(QAccessible::Name) : QString();
    }
    /// The controls that Tab reaches, in order, starting at the panel's first control.
    QStringList tabOrder() {
        QStringList names;
        for (int count = 0; count < 50; ++count) {
            QTest::keyClick(scene.window, Qt::Key_Tab);
            const QString name = nameOf(scene.window->activeFocusItem());
            if (!names.isEmpty() && name == names.front())
                break;
            names.append(name);
        }
        const auto first = std::ranges::find(names, QStringLiteral("About VELLO"));
        std::rotate(names.begin(), first, names.end());
        return names;
    }
    QAccessibleInterface& face(const QString& name) {
        QAccessibleInterface* const found = QAccessible::queryAccessibleInterface(&item(name));
        if (!found)
            throw std::runtime_error("no screen reader sees " + name.toStdString());
        return *found;
    }
};

const QString kBand = QStringLiteral("63 hertz band gain");

TEST_F(PanelKeyboardTest, ReachesEverythingFromTopToBottomByTab) {
    openPlayer();
    scene.item("player")->equalizer()->findChildren<BandModel*>()[1]->edit(2.5);
    scene.settle();
    EXPECT_EQ(tabOrder().join(u'|').toStdString(), (QStringList{"About VELLO",
                                                                "Equalizing enabled",
                                                                "System, collapsed",
                                                                "EQ enabled for System",
                                                                "Player, expanded",
                                                                "EQ enabled for Player",
                                                                "Custom",
                                                                "Save",
                                                                "Reset",
                                                                "Output route",
                                                                "Volume",
                                                                "63 hertz band gain",
                                                                "125 hertz band gain",
                                                                "250 hertz band gain",
                                                                "500 hertz band gain",
                                                                "1K hertz band gain",
                                                                "2K hertz band gain",
                                                                "4K hertz band gain",
                                                                "8K hertz band gain",
                                                                "Launch at Login",
                                                                "Quit"})
                                                       .join(u'|')
                                                       .toStdString());
}

TEST_F(PanelKeyboardTest, PassesOverTheBandsWhileTheyAreBypassed) {
    openPlayer();
    scene.item("player")->setEQEnabled(false);
    scene.settle();
    const QStringList names = tabOrder();
    EXPECT_FALSE(names.contains(kBand));
    EXPECT_TRUE(names.contains(QStringLiteral("Output route")));
}

TEST_F(PanelKeyboardTest, StepsABandByEveryArrow) {
    openPlayer();
    item(kBand).forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Right);
    EXPECT_EQ(gains()[0], 1.0);
    press(Qt::Key_Left);
    press(Qt::Key_Left);
    EXPECT_EQ(gains()[0], -1.0);
}

TEST_F(PanelKeyboardTest, StopsABandAtTheEndsOfItsRange) {
    openPlayer();
    item(kBand).forceActiveFocus(Qt::TabFocusReason);
    for (int count = 0; count < 6; ++count)
        press(Qt::Key_PageUp);
    EXPECT_EQ(gains()[0], 12.0);
    for (int count = 0; count < 10; ++count)
        press(Qt::Key_PageDown);
    EXPECT_EQ(gains()[0], -12.0);
}

TEST_F(PanelKeyboardTest, SwitchesBySpaceAndByReturn) {
    scene.play(101, "Player");
    open();
    item(QStringLiteral("EQ enabled for Player")).forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    EXPECT_TRUE(scene.controller->settings("player").isBypassed);
    press(Qt::Key_Return);
    EXPECT_FALSE(scene.controller->settings("player").isBypassed);
    item(QStringLiteral("Equalizing enabled")).forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    EXPECT_FALSE(scene.controller->isProcessingEnabled().value());
}

TEST_F(PanelKeyboardTest, PressesAButtonByReturnEnterSpaceAndScreenReader) {
    open();
    QSignalSpy quits(scene.model.get(), &PanelModel::quitRequested);
    item(QStringLiteral("Quit")).forceActiveFocus(Qt::TabFocusReason);
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space})
        press(key);
    EXPECT_EQ(quits.count(), 3);
    face(QStringLiteral("Quit")).actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(quits.count(), 4);
}

TEST_F(PanelKeyboardTest, TogglesASwitchByScreenReader) {
    open();
    QAccessibleActionInterface& actions = *face(QStringLiteral("Equalizing enabled")).actionInterface();
    actions.doAction(QAccessibleActionInterface::toggleAction());
    EXPECT_FALSE(scene.controller->isProcessingEnabled().value());
    actions.doAction(QAccessibleActionInterface::pressAction());
    EXPECT_TRUE(scene.controller->isProcessingEnabled().value());
}

TEST_F(PanelKeyboardTest, LetsNobodyPressAButtonThatIsDisabled) {
    openPlayer();
    QSignalSpy clicks(&item(QStringLiteral("Reset")), SIGNAL(clicked()));
    face(QStringLiteral("Reset")).actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    EXPECT_EQ(clicks.count(), 0);
}

TEST_F(PanelKeyboardTest, ChoosesTheMarkedEntryOfAMenuByEveryKeyAndNoneWithoutAMark) {
    openPlayer();
    const QString entry = QStringLiteral("Output route");
    const auto openMenu = [&] {
        item(entry).forceActiveFocus(Qt::TabFocusReason);
        press(Qt::Key_Return);
        return waitUntil([&] { return !all(QStringLiteral("MenuList")).empty(); });
    };
    const auto awaitClosed = [&] {
        return waitUntil([&] { return all(QStringLiteral("MenuList")).empty(); });
    };
    QSignalSpy choices(scene.item("player")->equalizer()->routes(), &MenuModel::chosen);
    int expected = 0;
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
        ASSERT_TRUE(openMenu());
        press(key);
        EXPECT_EQ(choices.count(), expected);
        press(Qt::Key_Down);
        press(key);
        EXPECT_EQ(choices.count(), ++expected);
        ASSERT_TRUE(awaitClosed());
        EXPECT_TRUE(item(entry).hasActiveFocus());
    }
}

TEST_F(PanelKeyboardTest, StepsTheVolumeByArrowsAndPages) {
    openPlayer();
    only(QStringLiteral("SmallSlider")).forceActiveFocus(Qt::TabFocusReason);
    const auto volume = [&] { return scene.controller->settings("player").volume; };
    press(Qt::Key_PageDown);
    EXPECT_DOUBLE_EQ(volume(), 0.95);
    press(Qt::Key_Left);
    EXPECT_DOUBLE_EQ(volume(), 0.94);
    press(Qt::Key_Down);
    EXPECT_DOUBLE_EQ(volume(), 0.93);
    press(Qt::Key_Up);
    EXPECT_DOUBLE_EQ(volume(), 0.94);
    press(Qt::Key_Right);
    EXPECT_DOUBLE_EQ(volume(), 0.95);
    press(Qt::Key_PageUp);
    press(Qt::Key_PageUp);
    EXPECT_EQ(volume(), 1.0);
    press(Qt::Key_Home);
    EXPECT_EQ(volume(), 0.0);
    press(Qt::Key_End);
    EXPECT_EQ(volume(), 1.0);
}

TEST_F(PanelKeyboardTest, AsksToBeClosedByEscape) {
    openPlayer();
    QSignalSpy dismissed(scene.window, SIGNAL(dismissed()));
    item(kBand).forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Escape);
    EXPECT_EQ(dismissed.count(), 1);
}

TEST_F(PanelKeyboardTest, IsClosedByEscapeWhenTheFocusedControlHasVanished) {
    openPlayer();
    scene.item("player")->equalizer()->findChildren<BandModel*>()[1]->edit(2.5);
    scene.settle();
    QSignalSpy dismissed(scene.window, SIGNAL(dismissed()));
    int expected = 0;
    const auto expectClosedByEscape = [&](const char* after) {
        press(Qt::Key_Escape);
        EXPECT_EQ(dismissed.count(), ++expected) << after;
    };
    item(QStringLiteral("Reset")).forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Space);
    ASSERT_FALSE(item(QStringLiteral("Reset")).isEnabled());
    expectClosedByEscape("a button that is disabled");
    item(kBand).forceActiveFocus(Qt::TabFocusReason);
    scene.item("player")->setEQEnabled(false);
    scene.settle();
    expectClosedByEscape("a band that is bypassed");
    item(QStringLiteral("Output route")).forceActiveFocus(Qt::TabFocusReason);
    scene.item("player")->toggle();
    scene.settle();
    expectClosedByEscape("a card that has closed");
    click(playerRow());
    ASSERT_TRUE(playerRow("expanded").hasActiveFocus());
    scene.stop(101);
    scene.settle();
    ASSERT_TRUE(all(QStringLiteral("SourceSection")).size() == 1);
    expectClosedByEscape("a card that has gone");
    item(QStringLiteral("Equalizing enabled")).forceActiveFocus(Qt::TabFocusReason);
    scene.authorization.answer = Consent::denied;
    scene.controller->capturePermission().refresh();
    scene.settle();
    ASSERT_FALSE(scene.named(QStringLiteral("Equalizing enabled")));
    expectClosedByEscape("the master switch");
}

TEST_F(PanelKeyboardTest, ClosesAnOpenMenuByEscapeAndNothingElse) {
    openPlayer();
    QSignalSpy dismissed(scene.window, SIGNAL(dismissed()));
    item(QStringLiteral("Flat")).forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Return);
    ASSERT_TRUE(waitUntil([&] { return scene.named(QStringLiteral("Vocal")) != nullptr; }));
    press(Qt::Key_Escape);
    EXPECT_TRUE(waitUntil([&] { return scene.named(QStringLiteral("Vocal")) == nullptr; }));
    EXPECT_EQ(dismissed.count(), 0);
    EXPECT_TRUE(item(QStringLiteral("Flat")).hasActiveFocus());
}

TEST_F(PanelKeyboardTest, LeavesTheCardOpenWhileThePanelIsHidden) {
    openPlayer();
    scene.window->hide();
    scene.model->setShown(false);
    EXPECT_EQ(scene.model->expandedSourceID(), "player");
    EXPECT_EQ(scene.controller->activeSourceID().value(), "player");
    scene.window->show();
    scene.model->setShown(true);
    scene.settle();
    EXPECT_TRUE(scene.named(QStringLiteral("Player, expanded")));
    EXPECT_NEAR(item(QStringLiteral("VELLO")).scale(), 0.82, 1e-9);
}

TEST_F(PanelKeyboardTest, TellsAScreenReaderTheGainOfABand) {
    openPlayer();
    scene.item("player")->equalizer()->findChildren<BandModel*>()[0]->edit(2.5);
    scene.settle();
    QAccessibleInterface& slider = face(kBand);
    EXPECT_EQ(slider.role(), QAccessible::Slider);
    EXPECT_EQ(slider.text(QAccessible::Description), "3 decibels");
    ASSERT_TRUE(slider.valueInterface());
    EXPECT_EQ(slider.valueInterface()->currentValue().toDouble(), 2.5);
    EXPECT_EQ(slider.valueInterface()->minimumValue().toDouble(), -12.0);
    EXPECT_EQ(slider.valueInterface()->maximumValue().toDouble(), 12.0);
    EXPECT_EQ(slider.valueInterface()->minimumStepSize().toDouble(), 1.0);
}

#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 0) // older versions do not report it
TEST_F(PanelKeyboardTest, TellsAScreenReaderThatABandIsDisabled) {
    openPlayer();
    EXPECT_FALSE(face(kBand).state().disabled);
    scene.item("player")->setEQEnabled(false);
    scene.settle();
    EXPECT_TRUE(face(kBand).state().disabled);
    EXPECT_TRUE(face(QStringLiteral("Reset")).state().disabled);
}
#endif

TEST_F(PanelKeyboardTest, LetsAScreenReaderStepABandWithoutSnapping) {
    openPlayer();
    scene.item("player")->equalizer()->findChildren<BandModel*>()[0]->edit(0.4);
    QAccessibleActionInterface& actions = *face(kBand).actionInterface();
    actions.doAction(QAccessibleActionInterface::increaseAction());
    EXPECT_EQ(gains()[0], 1.4);
    actions.doAction(QAccessibleActionInterface::decreaseAction());
    actions.doAction(QAccessibleActionInterface::decreaseAction());
    EXPECT_NEAR(gains()[0], -0.6, 1e-9);
}

TEST_F(PanelKeyboardTest, LetsAScreenReaderSetABandWithinItsRange) {
    openPlayer();
    QAccessibleValueInterface& value = *face(kBand).valueInterface();
    value.setCurrentValue(5.0);
    EXPECT_EQ(gains()[0], 5.0);
    value.setCurrentValue(99.0);
    EXPECT_EQ(gains()[0], 12.0);
    value.setCurrentValue(99.0);
    EXPECT_EQ(gains()[0], 12.0);
    EXPECT_EQ(value.currentValue().toDouble(), 12.0);
    scene.item("player")->equalizer()->findChildren<BandModel*>()[0]->edit(-2.0);
    EXPECT_EQ(value.currentValue().toDouble(), -2.0) << "it follows the band also after it was set";
}

TEST_F(PanelKeyboardTest, LetsNobodySetABandThatIsBypassed) {
    openPlayer();
    scene.item("player")->setEQEnabled(false);
    scene.settle();
    QAccessibleInterface& slider = face(kBand);
    slider.valueInterface()->setCurrentValue(5.0);
    EXPECT_EQ(gains()[0], 0.0);
    EXPECT_EQ(slider.valueInterface()->currentValue().toDouble(), 0.0);
}

TEST_F(PanelKeyboardTest, LetsAScreenReaderSetTheVolume) {
    openPlayer();
    face(QStringLiteral("Volume"));
    QQuickItem& slider = only(QStringLiteral("SmallSlider"));
    QAccessible::queryAccessibleInterface(&slider)->valueInterface()->setCurrentValue(0.25);
    EXPECT_EQ(scene.controller->settings("player").volume, 0.25);
    scene.item("player")->equalizer()->setVolume(0.75);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(&slider)->text(QAccessible::Description), "75%");
    EXPECT_EQ(slider.property("value").toDouble(), 0.75) << "it follows the volume also after it was set";
}

TEST_F(PanelKeyboardTest, ShowsNamesAsTheyAreWhateverTheyHold) {
    const QString name = QStringLiteral("<b>R&B</b> <img src='x'>");
    scene.play(101, name.toStdString());
    open();
    click(item(name + QStringLiteral(", collapsed")));
    scene.controller->saveUserPreset(name.toStdString(), std::vector<double>{1, 2, 3, 4, 5, 6, 7, 8});
    scene.settle();
    click(item(QStringLiteral("Flat")));
    ASSERT_TRUE(waitUntil([&] { return scene.named(name) != nullptr; }));
    for (QQuickItem* const text : all(QStringLiteral("Text")))
        EXPECT_EQ(text->property("textFormat").toInt(), Qt::PlainText)
            << qPrintable(text->property("text").toString());
    EXPECT_EQ(showing(name).property("text").toString(), name);
}

TEST_F(PanelKeyboardTest, TakesNoShortcutOutOfAName) {
    scene.play(101, "R&B Radio");
    open();
    press(Qt::Key_B, Qt::AltModifier);
    EXPECT_EQ(scene.model->expandedSourceID(), std::nullopt);
}

} // namespace
} // namespace vello
