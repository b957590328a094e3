// SPDX-License-Identifier: Apache-2.0
#include "PanelQuickTest.h"

#include "UI/Panel/ResponseView.h"
#include "UI/Panel/SpringFollower.h"

#include <gmock/gmock.h>

#include <cmath>

namespace vello {
namespace {

/// The body of an open card.
class EQPanelViewTest : public PanelQuickTest {
protected:
    QQuickItem& view() { return only(QStringLiteral("EQPanelView")); }
    QQuickItem& band(const char* label) {
        return item(QStringLiteral("%1 hertz band gain").arg(QLatin1String(label)));
    }
    /// The row with the menu of presets.
    QQuickItem& controls() {
        return *all(QStringLiteral("RowLayout"), &only(QStringLiteral("PresetControls"))).front();
    }
    BandModel& model(int index) {
        return *scene.item("player")->equalizer()->findChildren<BandModel*>()[index];
    }
    void edit(int index, double gain) {
        model(index).edit(gain);
        scene.settle();
    }
    void update(const std::function<void(EQSettings&)>& change) {
        EQSettings settings = scene.controller->settings("player");
        change(settings);
        scene.controller->updateSettings(settings, "player");
        if (scene.window)
            scene.settle();
    }
    void hearBeats() {
        scene.mainThread.advance(std::chrono::seconds(1));
        scene.hearBeats(120.0, 6.0);
        scene.setLevel("player", 0.5F);
        scene.tickMeters();
        scene.settle();
    }
    SpringFollower& namingSpring() {
        return *only(QStringLiteral("PresetNamingRow")).parentItem()->findChild<SpringFollower*>();
    }
};

double gapBetween(const QRectF& left, const QRectF& right) {
    return right.left() - left.right();
}

TEST_F(EQPanelViewTest, StacksItsRowsTwelvePointsApart) {
    openPlayer();
    edit(0, 3.0);
    click(item(QStringLiteral("Save")));
    std::vector<QRectF> rows;
    for (const QQuickItem* const row : view().childItems())
        if (row->isVisible())
            rows.push_back(place(*row));
    ASSERT_EQ(rows.size(), 4U);
    for (std::size_t index = 1; index < rows.size(); ++index)
        EXPECT_EQ(rows[index].top() - rows[index - 1].bottom(), 12.0) << index;
}

TEST_F(EQPanelViewTest, CentresItsControlsEightPointsApart) {
    openPlayer();
    edit(0, 3.0);
    hearBeats();
    const QQuickItem& row = controls();
    EXPECT_NEAR(place(row).center().x(), place(view()).center().x(), 1.0);
    std::vector<QRectF> parts;
    for (const QQuickItem* const part : row.childItems())
        if (part->isVisible())
            parts.push_back(place(*part));
    ASSERT_EQ(parts.size(), 5U) << "menu, tempo, Save, divider, Reset";
    for (std::size_t index = 1; index < parts.size(); ++index)
        EXPECT_NEAR(gapBetween(parts[index - 1], parts[index]), 8.0, 1e-9) << index;
    EXPECT_EQ(parts[3].height(), 12.0);
    const QQuickItem& menu = only(QStringLiteral("CapsuleButton"));
    EXPECT_GE(menu.width(), menu.implicitWidth() - 0.5) << "its name is cut off";
}

TEST_F(EQPanelViewTest, ReadsTheTempoAndTakesItAwayWithoutAnotherNumber) {
    openPlayer();
    EXPECT_TRUE(all(QStringLiteral("TempoReadout")).empty());
    hearBeats();
    ASSERT_TRUE(scene.named(QStringLiteral("120 beats per minute")));
    const QQuickItem& readout = only(QStringLiteral("TempoReadout"));
    const QQuickItem& text = showing(QStringLiteral("120 BPM"));
    EXPECT_GE(readout.width(), 48.0);
    EXPECT_EQ(place(text).left(), place(readout).left());
    EXPECT_EQ(text.property("color").value<QColor>().rgba(), scene.theme.secondary().rgba());
    const auto* const spring = readout.findChild<SpringFollower*>();
    EXPECT_EQ(std::pair(spring->response(), spring->dampingFraction()), std::pair(0.2, 1.0));
    scene.setLevel("player", 0.0F);
    scene.mainThread.advance(std::chrono::seconds(5));
    ASSERT_FALSE(scene.item("player")->equalizer()->hasTempo());
    EXPECT_EQ(text.property("text").toString(), "120 BPM");
    scene.settle();
    EXPECT_TRUE(all(QStringLiteral("TempoReadout")).empty());
}

TEST_F(EQPanelViewTest, MeasuresTheVolumeRow) {
    openPlayer();
    update([](EQSettings& settings) { settings.volume = 0.5; });
    const QQuickItem& row = only(QStringLiteral("VolumeRow"));
    const QQuickItem& output = item(QStringLiteral("Output route"));
    EXPECT_EQ(output.size(), QSizeF(28.0, 22.0));
    const QQuickItem& percentage = showing(QStringLiteral("50%"), &row);
    EXPECT_EQ(percentage.width(), 36.0);
    EXPECT_EQ(percentage.property("horizontalAlignment").toInt(), Qt::AlignRight);
    EXPECT_NEAR(place(percentage).right(), place(row).right(), 1e-9);
    const QQuickItem& slider = only(QStringLiteral("SmallSlider"), &row);
    EXPECT_NEAR(gapBetween(place(output), place(slider)), 8.0, 1e-9);
    EXPECT_NEAR(gapBetween(place(slider), place(percentage)), 8.0, 1e-9);
}

TEST_F(EQPanelViewTest, StandsEightEqualColumnsBesideTheScale) {
    openPlayer();
    const QQuickItem& bands = only(QStringLiteral("BandSliders"));
    EXPECT_EQ(bands.height(), 132.0 + 4.0 + 12.0);
    const auto columns = all(QStringLiteral("BandColumn"));
    ASSERT_EQ(columns.size(), 8U);
    EXPECT_NEAR(place(*columns.front()).left() - place(bands).left(), 26.0 + 6.0, 1e-9);
    EXPECT_NEAR(place(*columns.back()).right(), place(bands).right(), 1e-9);
    for (const QQuickItem* const column : columns)
        EXPECT_NEAR(column->width(), columns.front()->width(), 1e-9);
    const QQuickItem& slider = band("500");
    EXPECT_EQ(slider.size(), QSizeF(26.0, 132.0));
    const QRectF label = place(showing(QStringLiteral("500")));
    EXPECT_EQ(label.height(), 12.0);
    EXPECT_EQ(label.top() - place(slider).bottom(), 4.0);
    EXPECT_NEAR(place(slider).center().x(), label.center().x(), 0.5); // both are aligned to whole pixels
}

TEST_F(EQPanelViewTest, MarksTheScaleAtTopMiddleAndBottom) {
    openPlayer();
    const QRectF slider = place(band("63"));
    EXPECT_NEAR(place(showing(QStringLiteral("+12"))).top(), slider.top(), 1e-9);
    EXPECT_NEAR(place(showing(QStringLiteral("0"))).center().y(), slider.center().y(), 0.5);
    EXPECT_NEAR(place(showing(QStringLiteral("\u221212"))).bottom(), slider.bottom(), 1e-9);
    EXPECT_EQ(showing(QStringLiteral("0")).width(), 26.0);
}

TEST_F(EQPanelViewTest, DrawsTheGlowBehindTheColumns) {
    openPlayer();
    const QQuickItem& glow = only(QStringLiteral("SpectrumGlowView"));
    const double bleed = glow.property("bleed").toDouble();
    const auto columns = all(QStringLiteral("BandColumn"));
    EXPECT_NEAR(place(glow).left() + bleed, place(*columns.front()).left(), 1e-9);
    EXPECT_NEAR(place(glow).right() - bleed, place(*columns.back()).right(), 1e-9);
    EXPECT_EQ(glow.height() - 2 * bleed, 132.0);
}

TEST_F(EQPanelViewTest, DrawsTrackMarkBarAndThumbAtTheirSizes) {
    openPlayer();
    edit(0, 6.0);
    const QList<QQuickItem*> layers = band("63").childItems().front()->childItems();
    ASSERT_EQ(layers.size(), 4) << "track, zero mark, value bar, thumb";
    EXPECT_EQ(layers[0]->size(), QSizeF(5.0, 132.0));
    EXPECT_EQ(layers[1]->size(), QSizeF(13.0, 1.0));
    EXPECT_EQ(layers[2]->size(), QSizeF(5.0, 33.0));
    EXPECT_EQ(layers[2]->y(), 33.0);
    EXPECT_EQ(layers[3]->size(), QSizeF(19.5, 19.5));
    EXPECT_EQ(layers[3]->y() + 19.5 / 2, 33.0);
    EXPECT_EQ(layers[3]->property("dotDiameter").toDouble(), 6.0);
    for (const QQuickItem* const layer : layers)
        EXPECT_NEAR(layer->x() + layer->width() / 2, 13.0, 0.5); // it is aligned to whole pixels
}

TEST_F(EQPanelViewTest, GrowsTheShadowOfAThumbThatIsDragged) {
    openPlayer();
    const QQuickItem& slider = band("63");
    const auto shadow = [&] {
        return only(QStringLiteral("SliderThumbGlassModifier"), &slider).property("shadowRadius").toDouble();
    };
    EXPECT_EQ(shadow(), 1.0);
    QTest::mousePress(scene.window, Qt::LeftButton, {}, at(slider, 13, 66));
    EXPECT_EQ(shadow(), 3.0);
    QTest::mouseRelease(scene.window, Qt::LeftButton, {}, at(slider, 13, 66));
    EXPECT_EQ(shadow(), 1.0);
}

TEST_F(EQPanelViewTest, RingsTheThumbMoreStronglyWithIncreasedContrast) {
    openPlayer();
    const auto ring = [&] {
        return only(QStringLiteral("SliderThumbGlassModifier"), &band("63"))
            .property("rimColor")
            .value<QColor>();
    };
    EXPECT_EQ(ring().rgba(), scene.theme.controlRim().rgba());
    const float usual = ring().alphaF();
    scene.theme.setAppearance({.isContrastIncreased = true});
    EXPECT_EQ(ring().rgba(), scene.theme.primary().rgba());
    EXPECT_GT(ring().alphaF(), usual);
}

TEST_F(EQPanelViewTest, ShowsTheValueOfABandWhileItIsDraggedOrFocused) {
    openPlayer();
    EXPECT_TRUE(all(QStringLiteral("BandReadout")).empty());
    QQuickItem& slider = band("1K");
    QTest::mousePress(scene.window, Qt::LeftButton, {}, at(slider, 13, 33));
    scene.settle();
    const QQuickItem& readout = only(QStringLiteral("BandReadout"));
    EXPECT_NO_THROW(showing(QStringLiteral("1\u00a0kHz"), &readout));
    EXPECT_NO_THROW(showing(QStringLiteral("+6.0\u00a0dB"), &readout));
    EXPECT_NEAR(place(readout).center().x(), place(slider).center().x(), 1.0);
    EXPECT_LE(place(readout).bottom(), place(slider).top()) << "it covers no thumb";
    QTest::mouseMove(scene.window, at(slider, 13, 99));
    EXPECT_NO_THROW(showing(QStringLiteral("\u22126.0\u00a0dB"), &readout));
    QTest::mouseRelease(scene.window, Qt::LeftButton, {}, at(slider, 13, 99));
    EXPECT_TRUE(slider.hasActiveFocus()) << "a press on a band focuses it";
    QTest::mouseMove(scene.window, {2, 2});
    press(Qt::Key_Up);
    EXPECT_NO_THROW(showing(QStringLiteral("\u22125.0\u00a0dB"), &readout)) << "it is focused";
    controls().forceActiveFocus();
    scene.settle();
    EXPECT_TRUE(all(QStringLiteral("BandReadout")).empty());
}

TEST_F(EQPanelViewTest, ShowsTheValueOfABandUnderThePointerAfterAMoment) {
    openPlayer();
    edit(0, 2.5);
    QTest::mouseMove(scene.window, at(band("63"), 13, 100));
    QTest::mouseMove(scene.window, at(band("63"), 13, 102));
    EXPECT_TRUE(all(QStringLiteral("BandReadout")).empty());
    ASSERT_TRUE(waitUntil([&] { return !all(QStringLiteral("BandReadout")).empty(); }));
    scene.settle();
    const QQuickItem& readout = only(QStringLiteral("BandReadout"));
    EXPECT_NO_THROW(showing(QStringLiteral("+2.5\u00a0dB"), &readout));
    EXPECT_GE(place(readout).left(), place(only(QStringLiteral("ResponseView"))).left())
        << "within the bands";
    EXPECT_EQ(gains()[0], 2.5);
    QTest::mouseMove(scene.window, {2, 2});
    scene.settle();
    EXPECT_TRUE(all(QStringLiteral("BandReadout")).empty());
}

TEST_F(EQPanelViewTest, MarksTheFocusOfABandOnlyForTheKeyboard) {
    openPlayer();
    const auto ring = [&] { return all(QStringLiteral("FocusRing"), &band("63")).size(); };
    QTest::mouseClick(scene.window, Qt::LeftButton, {}, at(band("63"), 13, 33));
    EXPECT_EQ(ring(), 0U);
    press(Qt::Key_Up);
    EXPECT_EQ(ring(), 1U);
    QTest::mouseClick(scene.window, Qt::LeftButton, {}, at(band("63"), 13, 33));
    EXPECT_EQ(ring(), 0U);
    press(Qt::Key_Tab);
    press(Qt::Key_Backtab);
    EXPECT_EQ(ring(), 1U);
}

TEST_F(EQPanelViewTest, DrawsTheResponseBehindTheGlowAndTheBands) {
    openPlayer();
    const QQuickItem& response = only(QStringLiteral("ResponseView"));
    const QQuickItem& glow = only(QStringLiteral("SpectrumGlowView"));
    const QList<QQuickItem*> layers = response.parentItem()->childItems();
    const auto columns = all(QStringLiteral("BandColumn"));
    EXPECT_LT(layers.indexOf(&response), layers.indexOf(&glow));
    EXPECT_LT(layers.indexOf(&glow), layers.indexOf(columns.front()->parentItem()));
    EXPECT_NEAR(place(response).left(), place(*columns.front()).left(), 1e-9);
    EXPECT_NEAR(place(response).right(), place(*columns.back()).right(), 1e-9);
    EXPECT_EQ(response.height(), 132.0);
    EXPECT_EQ(response.property("sampleRate").toDouble(), scene.controller->sampleRate("player"));
}

TEST_F(EQPanelViewTest, MovesTheResponseWithTheSliders) {
    openPlayer();
    const auto& response = static_cast<const ResponseView&>(only(QStringLiteral("ResponseView")));
    edit(2, 4.5);
    EXPECT_EQ(response.gains()[2], 4.5) << "an edit is followed at once";
    scene.item("player")->equalizer()->presets()->choose(2);
    EXPECT_LT(response.gains()[0], 6.0) << "a preset is approached";
    QCoreApplication::processEvents(); // a frame
    for (int index = 0; index < 8; ++index)
        EXPECT_EQ(response.gains()[index],
                  all(QStringLiteral("VerticalDBSlider"))[static_cast<std::size_t>(index)]
                      ->property("shownGain")
                      .toDouble())
            << index;
    scene.settle();
    EXPECT_EQ(response.gains()[0], 6.0);
}

TEST_F(EQPanelViewTest, DrawsTheResponseOfWhatIsInForce) {
    openPlayer();
    const auto& response = static_cast<const ResponseView&>(only(QStringLiteral("ResponseView")));
    EQSettings system;
    system.bandGains = {6, 5, 4, 3, 2, 1, 0, -1};
    scene.controller->updateSettings(system, std::string(kSystemSourceID));
    scene.settle();
    EXPECT_EQ(response.gains(), (QList<double>{6, 5, 4, 3, 2, 1, 0, -1})) << "those of the system entry";
    EXPECT_EQ(band("63").property("gain").toDouble(), 0.0);
    edit(7, 2.0);
    EXPECT_EQ(response.gains(), (QList<double>{0, 0, 0, 0, 0, 0, 0, 2})) << "its own";
    update([](EQSettings& settings) { settings.isBypassed = true; });
    EXPECT_EQ(response.gains(), QList<double>(8, 0.0)) << "no filter";
    update([](EQSettings& settings) { settings.isBypassed = false; });
    EXPECT_EQ(response.gains()[7], 2.0);
}

TEST_F(EQPanelViewTest, SaysThatItFollowsTheSystemEntry) {
    openPlayer();
    scene.item(std::string(kSystemSourceID))->equalizer()->presets()->choose(2);
    scene.settle();
    const QQuickItem& capsule = only(QStringLiteral("CapsuleButton"));
    EXPECT_EQ(capsule.property("hint").toString(), "Follows System: Bass Boost");
    edit(0, 3.0);
    EXPECT_EQ(capsule.property("hint").toString(), "");
    scene.item("player")->equalizer()->reset();
    scene.settle();
    EXPECT_EQ(capsule.property("hint").toString(), "Follows System: Bass Boost");
}

TEST_F(EQPanelViewTest, TurnsGreyWhileItIsBypassed) {
    openPlayer();
    EXPECT_EQ(band("63").property("ink").value<QColor>().rgba(), scene.theme.accent().rgba());
    update([](EQSettings& settings) { settings.isBypassed = true; });
    EXPECT_EQ(band("63").property("ink").value<QColor>().rgba(), scene.theme.secondary().rgba());
    EXPECT_EQ(only(QStringLiteral("SpectrumGlowView")).property("saturation").toDouble(), 0.0);
}

TEST_F(EQPanelViewTest, GlidesToAPresetAndJumpsToAReset) {
    openPlayer();
    click(item(QStringLiteral("Flat")));
    scene.item("player")->equalizer()->presets()->choose(2);
    EXPECT_EQ(band("63").property("gain").toDouble(), 6.0);
    EXPECT_LT(band("63").property("shownGain").toDouble(), 1.0);
    scene.settle();
    EXPECT_EQ(band("63").property("shownGain").toDouble(), 6.0);
    scene.item("player")->equalizer()->reset();
    EXPECT_EQ(band("63").property("shownGain").toDouble(), 0.0);
}

TEST_F(EQPanelViewTest, NamesAPresetInARowThatOpensAndClosesOnItsSprings) {
    openPlayer();
    edit(0, 3.0);
    EXPECT_FALSE(view().property("isNamingPreset").toBool());
    click(item(QStringLiteral("Save")));
    EXPECT_TRUE(view().property("isNamingPreset").toBool());
    EXPECT_TRUE(view().property("isPresetNameFieldFocused").toBool());
    EXPECT_EQ(namingSpring().response(), 0.3);
    EXPECT_EQ(namingSpring().dampingFraction(), 1.0);
    const QQuickItem& row = only(QStringLiteral("PresetNamingRow"));
    const QQuickItem& cancel = item(QStringLiteral("Cancel saving preset"));
    const QQuickItem& cross = only(QStringLiteral("Symbol"), &cancel);
    EXPECT_EQ(cross.property("pointSize").toDouble(), 9.0);
    EXPECT_NEAR(place(item(QStringLiteral("Preset name"))).right() - place(cross).right(), 6.0, 0.5);
    EXPECT_NEAR(gapBetween(place(item(QStringLiteral("Preset name"))),
                           place(only(QStringLiteral("ProminentButton"), &row))),
                8.0, 1e-9);
    SpringFollower& spring = namingSpring();
    press(Qt::Key_Escape);
    EXPECT_EQ(spring.response(), 0.25);
    EXPECT_FALSE(scene.named(QStringLiteral("Preset name")));
    EXPECT_TRUE(scene.window->isVisible());
}

TEST_F(EQPanelViewTest, SavesOnlyUnderANameThatIsNotBlank) {
    openPlayer();
    edit(0, 3.0);
    click(item(QStringLiteral("Save")));
    const QQuickItem& save = only(QStringLiteral("ProminentButton"));
    EXPECT_FALSE(save.isEnabled());
    for (const char* blank : {" ", "\t \n", "\u00a0\u2003"}) {
        view().setProperty("presetName", QString::fromUtf8(blank));
        EXPECT_FALSE(save.isEnabled()) << blank;
    }
    view().setProperty("presetName", QStringLiteral(" Loud "));
    EXPECT_TRUE(save.isEnabled());
    click(only(QStringLiteral("ProminentButton")));
    ASSERT_EQ(scene.controller->userPresets().value().size(), 1U);
    EXPECT_EQ(scene.controller->userPresets().value()[0].name, "Loud");
}

TEST_F(EQPanelViewTest, LeavesAVolumeAloneThatItsSliderCannotShow) {
    scene.play(101, "Player");
    update([](EQSettings& settings) { settings.volume = 1.5; });
    open();
    click(playerRow());
    EXPECT_EQ(scene.controller->settings("player").volume, 1.5);
    EXPECT_TRUE(scene.named(QStringLiteral("150%")));
}

TEST_F(EQPanelViewTest, FindsRoomForAPresetWithAVeryLongName) {
    openPlayer();
    edit(0, 3.0);
    scene.item("player")->equalizer()->savePreset(QString(200, u'W'));
    scene.settle();
    const QRectF bounds = place(view());
    for (const QQuickItem* const part : controls().childItems()) {
        if (part->isVisible()) {
            EXPECT_TRUE(bounds.adjusted(-0.5, -0.5, 0.5, 0.5).contains(place(*part)));
        }
    }
}

TEST_F(EQPanelViewTest, KeepsItsMenusInsideThePanel) {
    for (int number = 0; number < 30; ++number)
        scene.hardware.addDevice(
            {.uid = "device" + std::to_string(number), .name = "Output " + std::to_string(number)});
    scene.mainThread.advance(std::chrono::seconds(1));
    open();
    click(item(QStringLiteral("System, collapsed")));
    click(item(QStringLiteral("Output route")));
    ASSERT_TRUE(waitUntil([&] { return !all(QStringLiteral("MenuList")).empty(); }));
    const QRectF menu = place(only(QStringLiteral("MenuList")));
    EXPECT_LE(menu.bottom(), place(only(QStringLiteral("MenuPanelView"))).bottom());
    EXPECT_GT(menu.height(), 200.0);
}

} // namespace
} // namespace vello
