// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/Tray.h"

#include "FakeWindowSystem.h"
#include "StatusNotifierHost.h"
#include "support/WaitUntil.h"

#include <gtest/gtest.h>
#include <QApplication>
#include <QMenu>
#include <QStyleHints>

#include <optional>
#include <vector>

namespace vello {
namespace {

class TrayTest : public testing::Test {
protected:
    Tray& makeTray() {
        const auto menu = [this] {
            return std::vector<TrayMenuEntry>{
                {QStringLiteral("Save & quit"), false, false, [this] { ++chosen_; }},
                {},
                {QStringLiteral("Enabled"), true, true, [] {}},
            };
        };
        tray_.emplace(bus_.itemsSide(), windows_, menu, [this] { return now_; });
        QObject::connect(&*tray_, &Tray::activated,
                         [this](const std::optional<QRect>& place) { places_.push_back(place); });
        return *tray_;
    }
    void callItem(const char* method, int x, int y) const {
        const QDBusMessage reply =
            bus_.call(QStringLiteral("/StatusNotifierItem"), QStringLiteral("org.kde.StatusNotifierItem"),
                      QString::fromUtf8(method), {x, y});
        EXPECT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    }
    static QMenu* openMenu() { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); }

    StatusNotifierBus bus_;
    FakeWindowSystem windows_;
    std::optional<Tray> tray_;
    std::vector<std::optional<QRect>> places_;
    int chosen_ = 0;
    Tray::Clock::time_point now_ = {};
};

TEST_F(TrayTest, NeverAsksForAnEmbeddedPlaceWhereAWatcherAnswers) {
    bus_.startWatcher();
    const Tray& tray = makeTray();
    EXPECT_FALSE(tray.isEmbedded());
    EXPECT_FALSE(tray.isShown());
    ASSERT_TRUE(waitUntil([&] { return tray.isShown() || tray.isEmbedded(); }));
    EXPECT_FALSE(tray.isEmbedded());
}

TEST_F(TrayTest, AsksForAnEmbeddedPlaceWhereThereIsNoWatcher) {
    const Tray& tray = makeTray();
    EXPECT_TRUE(waitUntil([&] { return tray.isEmbedded(); }));
    EXPECT_FALSE(tray.isShown()) << "there is no such tray here either";
}

TEST_F(TrayTest, AsksForNoEmbeddedPlaceWhereTheWindowSystemHasNone) {
    windows_.embedsItems = false;
    bus_.startWatcher();
    const Tray& tray = makeTray();
    ASSERT_TRUE(waitUntil([&] { return tray.isShown(); }));
    bus_.stopWatcher();
    ASSERT_TRUE(waitUntil([&] { return !tray.isShown(); }));
    EXPECT_FALSE(tray.isEmbedded());
}

TEST_F(TrayTest, MovesToAWatcherThatAppearsAndBackWhenItGoes) {
    const Tray& tray = makeTray();
    ASSERT_TRUE(waitUntil([&] { return tray.isEmbedded(); }));
    bus_.startWatcher();
    ASSERT_TRUE(waitUntil([&] { return !tray.isEmbedded(); }));
    EXPECT_TRUE(tray.isShown());
    bus_.stopWatcher();
    ASSERT_TRUE(waitUntil([&] { return tray.isEmbedded(); }));
    EXPECT_FALSE(tray.isShown());
}

TEST_F(TrayTest, TellsWhereItWasPressedInTheToolkitsPixels) {
    makeTray();
    callItem("Activate", 2000, 30);
    ASSERT_EQ(places_.size(), 1U);
    EXPECT_EQ(places_.front(), QRect(1000 - 11, 15 - 11, 22, 22));
}

TEST_F(TrayTest, TellsNoPlaceThatItsHostDoesNotKnow) {
    makeTray();
    callItem("Activate", 0, 0);
    now_ += std::chrono::seconds(1);
    windows_.knowsPlaces = false;
    callItem("Activate", 2000, 30);
    EXPECT_EQ(places_, (std::vector<std::optional<QRect>>{std::nullopt, std::nullopt}));
}

TEST_F(TrayTest, TakesADoubleClickForOneClickHoweverLongThePanelTakesToOpen) {
    QObject::connect(&makeTray(), &Tray::activated, [this] { now_ += std::chrono::seconds(2); });
    callItem("Activate", 2000, 30);
    callItem("Activate", 2000, 30);
    EXPECT_EQ(places_.size(), 1U);
}

TEST_F(TrayTest, TakesADoubleClickForOneClickHoweverOftenItsHostTellsIt) {
    const std::chrono::milliseconds doubleClick(QGuiApplication::styleHints()->mouseDoubleClickInterval());
    makeTray();
    callItem("Activate", 2000, 30);
    for (int i = 0; i < 3; ++i) {
        now_ += doubleClick / 4;
        callItem("Activate", 2000, 30);
    }
    EXPECT_EQ(places_.size(), 1U);
    now_ += doubleClick / 4;
    callItem("Activate", 2000, 30);
    EXPECT_EQ(places_.size(), 2U) << "a user who clicks on and on";
}

TEST_F(TrayTest, ChangesNothingWhenTheWheelTurnsOverIt) {
    makeTray();
    for (const char* const orientation : {"vertical", "horizontal"})
        EXPECT_EQ(bus_.call(QStringLiteral("/StatusNotifierItem"),
                            QStringLiteral("org.kde.StatusNotifierItem"), QStringLiteral("Scroll"),
                            {-120, QString::fromUtf8(orientation)})
                      .type(),
                  QDBusMessage::ReplyMessage);
    EXPECT_TRUE(places_.empty());
    EXPECT_EQ(chosen_, 0);
}

TEST_F(TrayTest, ShowsAMenuOfItsOwnForAHostThatShowsNone) {
    makeTray();
    callItem("ContextMenu", 400, 300);
    ASSERT_NE(openMenu(), nullptr);
    const QList<QAction*> lines = openMenu()->actions();
    ASSERT_EQ(lines.size(), 3);
    EXPECT_EQ(lines[0]->text(), QStringLiteral("Save && quit"));
    EXPECT_TRUE(lines[1]->isSeparator());
    EXPECT_TRUE(lines[2]->isChecked());
    lines[0]->trigger();
    EXPECT_EQ(chosen_, 1);
}

TEST_F(TrayTest, ShowsNoMenuInAPlaceThatIsNotKnown) {
    makeTray();
    windows_.knowsPlaces = false;
    callItem("ContextMenu", 400, 300);
    EXPECT_EQ(openMenu(), nullptr);
}

} // namespace
} // namespace vello
