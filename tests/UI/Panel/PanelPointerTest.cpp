// SPDX-License-Identifier: Apache-2.0
// What takes the pointer, and what is explained while it rests.
#include "PanelQuickTest.h"

#include <algorithm>

namespace vello {
namespace {

class PanelPointerTest : public PanelQuickTest {
protected:
    void moveTo(QPointF place) {
        QTest::mouseMove(scene.window, place.toPoint());
        QCoreApplication::processEvents();
    }
    /// The controls below `root` that are operated by a press.
    std::vector<QQuickItem*> controls(const QQuickItem* root = nullptr) {
        std::vector<QQuickItem*> found;
        for (const char* type :
             {"IconButton", "IconToggle", "SwitchToggle", "LabelButton", "CapsuleButton", "Action",
              "PressControl", "SmallSlider", "ProminentButton", "TextButton", "LinkText", "AppRowView"})
            for (QQuickItem* const item : all(QString::fromLatin1(type), root))
                found.push_back(item);
        return found;
    }
    /// Checks that a square of 24 points around the control's centre belongs to the control.
    static void expectLargeEnough(const QQuickItem& control) {
        const QPointF centre(control.width() / 2.0, control.height() / 2.0);
        for (const double x : {-11.9, 11.9})
            for (const double y : {-11.9, 11.9})
                EXPECT_TRUE(control.contains(centre + QPointF(x, y)))
                    << control.metaObject()->className() << " " << control.width() << " x "
                    << control.height();
    }
    /// The hints that would be shown if the pointer rested where it is.
    QStringList hints() { return hintsOf(*scene.window->contentItem()); }

private:
    static QStringList hintsOf(const QQuickItem& item) {
        QStringList texts;
        for (const QObject* const object : item.findChildren<QObject*>(Qt::FindDirectChildrenOnly))
            if (QByteArray(object->metaObject()->className()).startsWith("Hint_") &&
                object->property("isDue").toBool())
                texts.append(object->property("text").toString());
        for (const QQuickItem* const child : item.childItems())
            texts += hintsOf(*child);
        return texts;
    }
};

TEST_F(PanelPointerTest, FindsEveryControlWithinTwentyFourPoints) {
    scene.loginItem.failsToChange = true;
    openPlayer();
    scene.item("player")->equalizer()->findChildren<BandModel*>()[1]->edit(2.5);
    scene.settle();
    click(item(QStringLiteral("Save")));
    const auto found = controls();
    EXPECT_EQ(found.size(), 15U);
    for (const QQuickItem* const control : found)
        expectLargeEnough(*control);
}

TEST_F(PanelPointerTest, FindsTheLinksAndTheButtonOfAboutWithinTwentyFourPoints) {
    scene.openAbout();
    scene.settle();
    EXPECT_EQ(controls().size(), 3U);
    for (const QQuickItem* const control : controls())
        expectLargeEnough(*control);
}

TEST_F(PanelPointerTest, GivesNoControlThePlaceOfAnother) {
    openPlayer();
    scene.item("player")->equalizer()->findChildren<BandModel*>()[1]->edit(2.5);
    scene.settle();
    for (QQuickItem* const control : controls()) {
        if (!control->property("hovered").isValid() || !control->isEnabled())
            continue;
        for (const double x : {-11.0, 11.0})
            for (const double y : {-11.0, 11.0}) {
                moveTo(control->mapToScene({control->width() / 2 + x, control->height() / 2 + y}));
                EXPECT_TRUE(control->property("hovered").toBool())
                    << control->metaObject()->className() << " " << x << " " << y;
            }
    }
}

TEST_F(PanelPointerTest, PressesAControlBesideWhatIsSeenOfIt) {
    open();
    QQuickItem& toggle = item(QStringLiteral("EQ enabled for System"));
    const double height = toggle.height();
    EXPECT_EQ(height, 15.0);
    QTest::mouseClick(scene.window, Qt::LeftButton, {}, at(toggle, 10, -4));
    scene.settle();
    EXPECT_FALSE(scene.item(std::string(kSystemSourceID))->isEQEnabled());
    EXPECT_FALSE(scene.item(std::string(kSystemSourceID))->isExpanded());
}

TEST_F(PanelPointerTest, SwitchesByAClickOnTheLabelOfASwitch) {
    open();
    ASSERT_FALSE(scene.model->launchesAtLogin());
    click(showing(QStringLiteral("Launch at Login")));
    EXPECT_TRUE(scene.model->launchesAtLogin());
    scene.theme.setAppearance({.isRightToLeft = true});
    scene.settle();
    click(showing(QStringLiteral("Launch at Login")));
    EXPECT_FALSE(scene.model->launchesAtLogin());
}

TEST_F(PanelPointerTest, GivesEachOfTwoNeighboursInAMenuItsOwnTwentyFourPoints) {
    scene.controller->saveUserPreset("First", std::vector<double>{1, 0, 0, 0, 0, 0, 0, 0});
    openPlayer();
    click(item(QStringLiteral("Flat")));
    moveTo(place(item(QStringLiteral("First"))).center());
    scene.settle();
    const QQuickItem& rename = item(QStringLiteral("Rename First"));
    const QQuickItem& remove = item(QStringLiteral("Delete First"));
    EXPECT_EQ(place(rename).right(), place(remove).left()) << "they are where they were";
    for (const auto& [button, outwards] : {std::pair(&rename, -1.0), std::pair(&remove, 1.0)}) {
        const QPointF centre(button->width() / 2, button->height() / 2);
        EXPECT_TRUE(button->contains(centre + QPointF(outwards * 13.5, 0)));
        EXPECT_TRUE(button->contains(centre - QPointF(outwards * 9.5, 0)));
        EXPECT_FALSE(button->contains(centre - QPointF(outwards * 10.5, 0)));
    }
    QTest::mouseClick(scene.window, Qt::LeftButton, {}, at(remove, remove.width() + 3, 10));
    scene.settle();
    EXPECT_TRUE(scene.controller->userPresets().value().empty());
    EXPECT_EQ(gains()[0], 0.0) << "the entry was chosen as well";
}

// Hints

TEST_F(PanelPointerTest, ExplainsAControlUnlessAMenuIsOpen) {
    openPlayer();
    QQuickItem& route = item(QStringLiteral("Output route"));
    moveTo(place(route).center());
    EXPECT_EQ(hints().join(u'|').toStdString(), "Automatic");
    click(route);
    ASSERT_TRUE(scene.named(QStringLiteral("Studio Headphones")));
    EXPECT_EQ(hints().join(u'|').toStdString(), "");
    press(Qt::Key_Escape);
    ASSERT_TRUE(waitUntil([&] { return all(QStringLiteral("MenuList")).empty(); }));
    moveTo(place(route).center() + QPointF(2, 2));
    EXPECT_EQ(hints().join(u'|').toStdString(), "Automatic");
}

TEST_F(PanelPointerTest, TellsTheWholeOfANameThatIsCut) {
    const std::string longName = "Videos with a rather long name of the window";
    scene.play(101, longName);
    scene.play(102, "Radio");
    open();
    moveTo(place(showing(QStringLiteral("Radio"))).center());
    EXPECT_EQ(hints().join(u'|').toStdString(), "");
    moveTo(place(showing(QString::fromStdString(longName))).center());
    EXPECT_EQ(hints().join(u'|').toStdString(), longName);
}

TEST_F(PanelPointerTest, TellsTheWholeOfAPresetThatIsCutOnItsButtonAndBesideItsMenu) {
    const QString longName =
        QStringLiteral("A preset whose name is much longer than the place that a menu has for it");
    scene.controller->saveUserPreset(longName.toStdString(), std::vector<double>(8, 0.5));
    openPlayer();
    scene.controller->updateSettings({.bandGains = std::vector<double>(8, 0.5)}, "player");
    scene.settle();
    QQuickItem& button = item(longName);
    moveTo(place(button).center());
    EXPECT_EQ(hints().join(u'|').toStdString(), longName.toStdString());
    click(button);
    for (int row = 0; row < 7; ++row)
        press(Qt::Key_Down);
    EXPECT_EQ(hints().join(u'|').toStdString(), longName.toStdString());
    const QQuickItem& menu = *only(QStringLiteral("MenuList")).parentItem()->parentItem();
    const auto isHint = [&](QQuickItem* text) {
        return text->property("text") == longName && !button.isAncestorOf(text) &&
               !place(menu).intersects(place(*text));
    };
    ASSERT_TRUE(waitUntil([&] { return std::ranges::any_of(all(QStringLiteral("Text")), isHint); }))
        << "it is shown, and beside the menu";
}

TEST_F(PanelPointerTest, CutsNamesOfDevicesInTheMiddle) {
    scene.hardware.addDevice(
        {.uid = "long", .name = "High Definition Audio Controller Digital Stereo (HDMI 3)"});
    scene.mainThread.advance(std::chrono::seconds(1));
    openPlayer();
    click(item(QStringLiteral("Output route")));
    const QQuickItem& name =
        showing(QStringLiteral("High Definition Audio Controller Digital Stereo (HDMI 3)"));
    EXPECT_TRUE(name.property("truncated").toBool());
    EXPECT_EQ(name.property("elide").toInt(), Qt::ElideMiddle);
}

} // namespace
} // namespace vello
