// SPDX-License-Identifier: Apache-2.0
#include "PanelQuickTest.h"

#include <QRegularExpression>

namespace vello {
namespace {

/// All texts shown by `item` and its children.
QStringList shownTexts(const QQuickItem& item) {
    QStringList texts;
    if (!item.isVisible())
        return texts;
    const QString text = item.property("text").toString();
    if (!text.isEmpty())
        texts.append(text);
    for (const QQuickItem* const child : item.childItems())
        texts += shownTexts(*child);
    return texts;
}

void expectNoOtherSystemIn(const QStringList& texts) {
    static const QRegularExpression otherSystem(
        QStringLiteral("\\b(Mac|macOS|System Settings|System Audio Recording|Windows)\\b"));
    for (const QString& text : texts)
        EXPECT_FALSE(text.contains(otherSystem)) << qPrintable(text);
}

TEST_F(PanelQuickTest, IsAsWideAsItIsMeantToBe) {
    open();
    EXPECT_EQ(item(QStringLiteral("VELLO by QUORVIN")).width(), 344.0);
}

TEST_F(PanelQuickTest, SaysThatNothingPlays) {
    open();
    EXPECT_TRUE(scene.named(QStringLiteral("No apps are playing audio right now.")));
    scene.play(101, "Player");
    scene.settle();
    EXPECT_FALSE(scene.named(QStringLiteral("No apps are playing audio right now.")));
}

TEST_F(PanelQuickTest, OpensACardByAClickAndClosesItByAnother) {
    openPlayer();
    EXPECT_TRUE(scene.item("player")->isExpanded());
    EXPECT_TRUE(scene.named(QStringLiteral("63 hertz band gain")));
    EXPECT_NEAR(item(QStringLiteral("VELLO")).scale(), 0.82, 1e-9);
    EXPECT_NEAR(item(QStringLiteral("VELLO")).opacity(), 0.5, 1e-9);
    click(playerRow("expanded"));
    EXPECT_FALSE(scene.item("player")->isExpanded());
    EXPECT_FALSE(scene.named(QStringLiteral("63 hertz band gain")));
    EXPECT_NEAR(item(QStringLiteral("VELLO")).scale(), 1.0, 1e-9);
    EXPECT_EQ(playerRow().parentItem()->height(), 22.0 + 2 * 8.0);
}

TEST_F(PanelQuickTest, OpensACardByKeyboard) {
    scene.play(101, "Player");
    open();
    playerRow().forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Return);
    EXPECT_TRUE(scene.item("player")->isExpanded());
}

TEST_F(PanelQuickTest, SetsABandWhereItIsPressedAndDragged) {
    openPlayer();
    QQuickItem& slider = item(QStringLiteral("1K hertz band gain"));
    EXPECT_EQ(slider.height(), 132.0);
    QTest::mousePress(scene.window, Qt::LeftButton, {}, at(slider, slider.width() / 2, 33));
    EXPECT_NEAR(gains()[4], 6.0, 0.2);
    QTest::mouseMove(scene.window, at(slider, slider.width() / 2, -40));
    EXPECT_EQ(gains()[4], 12.0);
    QTest::mouseMove(scene.window, at(slider, slider.width() / 2, 66));
    EXPECT_EQ(gains()[4], 0.0);
    QTest::mouseMove(scene.window, at(slider, slider.width() / 2, 400));
    QTest::mouseRelease(scene.window, Qt::LeftButton, {}, at(slider, slider.width() / 2, 400));
    EXPECT_EQ(gains()[4], -12.0);
}

TEST_F(PanelQuickTest, StepsABandByKeyboard) {
    openPlayer();
    item(QStringLiteral("63 hertz band gain")).forceActiveFocus(Qt::TabFocusReason);
    press(Qt::Key_Up);
    EXPECT_EQ(gains()[0], 1.0);
    press(Qt::Key_PageUp);
    EXPECT_EQ(gains()[0], 4.0);
    press(Qt::Key_Down);
    EXPECT_EQ(gains()[0], 3.0);
    press(Qt::Key_PageDown);
    press(Qt::Key_PageDown);
    EXPECT_EQ(gains()[0], -3.0);
    press(Qt::Key_Home);
    EXPECT_EQ(gains()[0], 0.0);
}

TEST_F(PanelQuickTest, TakesNoDragWhileItIsBypassed) {
    openPlayer();
    click(item(QStringLiteral("EQ enabled for Player")));
    EXPECT_TRUE(scene.controller->settings("player").isBypassed);
    QQuickItem& slider = item(QStringLiteral("63 hertz band gain"));
    EXPECT_FALSE(slider.isEnabled());
    click(slider);
    EXPECT_EQ(gains(), std::vector<double>(8, 0.0));
    EXPECT_TRUE(item(QStringLiteral("Flat")).isEnabled());
    EXPECT_TRUE(item(QStringLiteral("Output route")).isEnabled());
}

TEST_F(PanelQuickTest, DoesNotOpenTheCardByItsSwitch) {
    scene.play(101, "Player");
    open();
    click(item(QStringLiteral("EQ enabled for Player")));
    EXPECT_FALSE(scene.item("player")->isExpanded());
    EXPECT_FALSE(scene.item("player")->isEQEnabled());
}

TEST_F(PanelQuickTest, AsksForANameAndSavesTheCurveUnderIt) {
    openPlayer();
    EXPECT_FALSE(scene.named(QStringLiteral("Save")));
    scene.item("player")->equalizer()->findChildren<BandModel*>()[1]->edit(2.5);
    scene.settle();
    const double closed = cardHeight();
    click(item(QStringLiteral("Save")));
    EXPECT_GT(cardHeight(), closed + 24.0);
    EXPECT_TRUE(item(QStringLiteral("Preset name")).hasActiveFocus());
    press(Qt::Key_Space);
    press(Qt::Key_Return);
    EXPECT_TRUE(scene.controller->userPresets().value().empty());
    press(Qt::Key_A);
    press(Qt::Key_Return);
    ASSERT_EQ(scene.controller->userPresets().value().size(), 1U);
    EXPECT_EQ(scene.controller->userPresets().value()[0].name, "a");
    EXPECT_FALSE(scene.named(QStringLiteral("Save")));
    EXPECT_EQ(cardHeight(), closed);
}

TEST_F(PanelQuickTest, KeepsAnUnfinishedNameUntilTheCardIsClosed) {
    openPlayer();
    scene.item("player")->equalizer()->findChildren<BandModel*>()[1]->edit(2.5);
    scene.settle();
    click(item(QStringLiteral("Save")));
    press(Qt::Key_B);
    click(item(QStringLiteral("Cancel saving preset")));
    EXPECT_FALSE(scene.named(QStringLiteral("Preset name")));
    click(item(QStringLiteral("Save")));
    EXPECT_EQ(item(QStringLiteral("Preset name")).property("text").toString(), "b");
    click(playerRow("expanded"));
    click(playerRow());
    EXPECT_FALSE(scene.named(QStringLiteral("Preset name")));
    EXPECT_TRUE(scene.controller->userPresets().value().empty());
}

TEST_F(PanelQuickTest, SelectsTheNameOfTheLastPresetWhenAnotherIsSaved) {
    openPlayer();
    const auto saveAs = [this](double gain, Qt::Key name) {
        scene.item("player")->equalizer()->findChildren<BandModel*>()[1]->edit(gain);
        scene.settle();
        click(item(QStringLiteral("Save")));
        press(name);
        press(Qt::Key_Return);
    };
    saveAs(2.5, Qt::Key_A);
    saveAs(3.5, Qt::Key_B);
    ASSERT_EQ(scene.controller->userPresets().value().size(), 2U);
    EXPECT_EQ(scene.controller->userPresets().value()[0].name, "a");
    EXPECT_EQ(scene.controller->userPresets().value()[1].name, "b");
}

TEST_F(PanelQuickTest, ChoosesAPresetFromItsMenu) {
    openPlayer();
    click(item(QStringLiteral("Flat")));
    click(item(QStringLiteral("Bass Boost")));
    EXPECT_EQ(gains()[0], 6.0);
    EXPECT_TRUE(waitUntil([&] { return scene.named(QStringLiteral("Vocal")) == nullptr; }));
}

TEST_F(PanelQuickTest, ChoosesAnOutputFromItsMenuByKeyboard) {
    openPlayer();
    click(item(QStringLiteral("Output route")));
    press(Qt::Key_Down);
    press(Qt::Key_Down);
    press(Qt::Key_Return);
    EXPECT_EQ(scene.controller->settings("player").outputDeviceUID,
              scene.controller->outputRoutes().value()[0].id);
}

TEST_F(PanelQuickTest, ResetsOnlyACurveThatIsNotFlat) {
    openPlayer();
    EXPECT_FALSE(item(QStringLiteral("Reset")).isEnabled());
    scene.item("player")->equalizer()->findChildren<BandModel*>()[1]->edit(2.5);
    scene.settle();
    click(item(QStringLiteral("Reset")));
    EXPECT_EQ(gains(), std::vector<double>(8, 0.0));
    EXPECT_FALSE(item(QStringLiteral("Reset")).isEnabled());
}

TEST_F(PanelQuickTest, SwitchesEverythingOffInTheHeader) {
    open();
    click(item(QStringLiteral("Equalizing enabled")));
    EXPECT_FALSE(scene.controller->isProcessingEnabled().value());
}

TEST_F(PanelQuickTest, SaysThatLaunchAtLoginFailed) {
    scene.loginItem.failsToChange = true;
    open();
    EXPECT_FALSE(scene.named(QStringLiteral("Could not update launch setting.")));
    click(item(QStringLiteral("Launch at Login")));
    EXPECT_TRUE(scene.named(QStringLiteral("Could not update launch setting.")));
}

TEST_F(PanelQuickTest, SaysWhyChangesAreNotSavedUntilTheyAre) {
    const QString problem = QStringLiteral("Changes could not be saved.");
    open();
    EXPECT_FALSE(scene.named(problem));
    writeTestFile(scene.folder / "EQ by QUORVIN", "a file is in the way");
    EXPECT_TRUE(scene.controller->save() == std::nullopt) << "nothing has changed";
    scene.controller->saveUserPreset("Mine", std::vector<double>(8, 1.0));
    EXPECT_TRUE(scene.controller->save());
    scene.settle();
    EXPECT_TRUE(scene.named(problem));
    std::filesystem::remove(scene.folder / "EQ by QUORVIN");
    scene.mainThread.advance(std::chrono::seconds(1));
    scene.settle();
    EXPECT_FALSE(scene.named(problem));
}

TEST_F(PanelQuickTest, QuitsByButtonAndByKeyboard) {
    open();
    int quits = 0;
    QObject::connect(scene.model.get(), &PanelModel::quitRequested, [&quits] { ++quits; });
    click(item(QStringLiteral("Quit")));
    EXPECT_EQ(quits, 1);
    press(Qt::Key_Q, Qt::ControlModifier);
    EXPECT_EQ(quits, 2);
}

TEST_F(PanelQuickTest, GrowsWithItsListAndScrollsBeyondItsBound) {
    open();
    QQuickItem& panel = item(QStringLiteral("VELLO by QUORVIN"));
    for (int number = 0; number < 3; ++number)
        scene.play(200 + number, "App " + std::to_string(number));
    scene.settle();
    const double withThree = panel.height();
    for (int number = 3; number < 6; ++number)
        scene.play(200 + number, "App " + std::to_string(number));
    scene.settle();
    EXPECT_EQ(panel.height(), withThree + 3 * (38.0 + 8.0));
    for (int number = 6; number < 30; ++number)
        scene.play(200 + number, "App " + std::to_string(number));
    scene.settle();
    // The height of four cards was 176 points.
    EXPECT_EQ(panel.height(), withThree - 176.0 + 460.0);
}

class PanelWithoutConsentTest : public testing::Test {
protected:
    void TearDown() override { EXPECT_TRUE(scene.qmlWarnings.isEmpty()); }

    VirtualFrames frames;
    PanelScene scene{{}, Consent::undecided};
};

TEST_F(PanelWithoutConsentTest, OffersToAllowTheCapture) {
    scene.openPanel();
    scene.settle();
    EXPECT_FALSE(scene.named(QStringLiteral("Equalizing enabled")));
    EXPECT_FALSE(scene.named(QStringLiteral("System, collapsed")));
    QQuickItem* const allow = scene.named(QStringLiteral("Allow Access"));
    ASSERT_TRUE(allow);
    QTest::mouseClick(scene.window, Qt::LeftButton, {}, allow->mapToScene({10, 10}).toPoint());
    ASSERT_EQ(scene.authorization.openRequests.size(), 1U);
    scene.authorization.answer = Consent::allowed;
    scene.authorization.openRequests[0](true);
    scene.mainThread.runPosted();
    scene.settle();
    EXPECT_TRUE(scene.named(QStringLiteral("System, collapsed")));
    EXPECT_TRUE(scene.named(QStringLiteral("Equalizing enabled")));
}

TEST_F(PanelWithoutConsentTest, LeadsToTheSettingsOnceItIsDenied) {
    scene.authorization.answer = Consent::denied;
    scene.openPanel();
    scene.settle();
    EXPECT_FALSE(scene.named(QStringLiteral("Allow Access")));
    QQuickItem* const settings = scene.named(QStringLiteral("Ask Again…"));
    ASSERT_TRUE(settings);
    QTest::mouseClick(scene.window, Qt::LeftButton, {}, settings->mapToScene({10, 10}).toPoint());
    EXPECT_EQ(scene.authorization.calls.back(), "openSettings");
}

TEST_F(PanelWithoutConsentTest, AsksInWordsThatNameNoOtherSystem) {
    scene.openPanel();
    scene.settle();
    expectNoOtherSystemIn(shownTexts(*scene.window->contentItem()));
    EXPECT_TRUE(shownTexts(*scene.window->contentItem()).contains(QStringLiteral("Allow Access")));
}

TEST_F(PanelWithoutConsentTest, SaysInWordsThatNameNoOtherSystemWhatADenialNeeds) {
    scene.authorization.answer = Consent::denied;
    scene.openPanel();
    scene.settle();
    const QStringList texts = shownTexts(*scene.window->contentItem());
    expectNoOtherSystemIn(texts);
    EXPECT_FALSE(texts.filter(QStringLiteral("vello permission allow")).isEmpty());
}

TEST_F(PanelWithoutConsentTest, TellsAboutItselfInWordsThatNameNoOtherSystem) {
    scene.openAbout();
    scene.settle();
    const QStringList texts = shownTexts(*scene.window->contentItem());
    expectNoOtherSystemIn(texts);
    EXPECT_TRUE(texts.contains(QStringLiteral("Audio stays on your computer")));
}

TEST_F(PanelWithoutConsentTest, ShowsAboutAtItsSizeAndClosesItWithDone) {
    QQuickWindow* const about = scene.openAbout();
    scene.settle();
    EXPECT_EQ(about->size(), QSize(360, 420));
    EXPECT_EQ(about->minimumSize(), about->maximumSize());
    EXPECT_TRUE(scene.named(QStringLiteral("VELLO app icon")));
    QQuickItem* const done = scene.named(QStringLiteral("Done"));
    ASSERT_TRUE(done);
    QTest::mouseClick(about, Qt::LeftButton, {}, done->mapToScene({10, 10}).toPoint());
    EXPECT_FALSE(about->isVisible());
}

} // namespace
} // namespace vello
