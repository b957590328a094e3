// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/StatusNotifierItem.h"

#include "StatusNotifierHost.h"
#include "support/WaitUntil.h"
#include "UI/Shell/TrayIcon.h"

#include <gtest/gtest.h>
#include <QPoint>

#include <optional>

namespace vello {
namespace {

using Registration = StatusNotifierItem::Registration;

const QString kItemPath = QStringLiteral("/StatusNotifierItem");
const QString kItemInterface = QStringLiteral("org.kde.StatusNotifierItem");

class StatusNotifierItemTest : public testing::Test {
protected:
    StatusNotifierItem& makeItem(const QString& iconName = {}) {
        QPixmap red(64, 64);
        red.fill(QColor(200, 100, 50));
        return item_.emplace(bus_.itemsSide(), menu_, StatusNotifierItem::Look{QIcon(red), iconName});
    }
    QVariant property(const char* name) const {
        return bus_.property(kItemPath, kItemInterface, QString::fromUtf8(name));
    }
    QDBusMessage call(const char* method, const QVariantList& arguments) const {
        return bus_.call(kItemPath, kItemInterface, QString::fromUtf8(method), arguments);
    }

    StatusNotifierBus bus_;
    DBusMenu menu_{[] { return std::vector<TrayMenuEntry>{{QStringLiteral("Quit")}}; }};
    std::optional<StatusNotifierItem> item_;
};

TEST_F(StatusNotifierItemTest, RegistersWithAWatcherThatIsThere) {
    const auto& watcher = bus_.startWatcher();
    const auto& item = makeItem();
    EXPECT_EQ(item.registration(), Registration::asking);
    ASSERT_TRUE(waitUntil([&] { return item.registration() == Registration::done; }));
    EXPECT_EQ(watcher.items, QStringList(bus_.itemsSide().baseService()))
        << "not a name that the watcher would have to look up";
}

TEST_F(StatusNotifierItemTest, RegistersWithAWatcherThatStartsLater) {
    const auto& item = makeItem();
    ASSERT_TRUE(waitUntil([&] { return item.registration() == Registration::refused; }));
    const auto& watcher = bus_.startWatcher();
    EXPECT_TRUE(waitUntil([&] { return item.registration() == Registration::done; }));
    EXPECT_EQ(watcher.items.size(), 1);
}

TEST_F(StatusNotifierItemTest, RegistersAgainWithAWatcherThatWasStartedAnew) {
    bus_.startWatcher();
    const auto& item = makeItem();
    ASSERT_TRUE(waitUntil([&] { return item.registration() == Registration::done; }));
    bus_.stopWatcher();
    ASSERT_TRUE(waitUntil([&] { return item.registration() == Registration::refused; }));
    const auto& second = bus_.startWatcher();
    EXPECT_TRUE(waitUntil([&] { return item.registration() == Registration::done; }));
    EXPECT_EQ(second.items.size(), 1);
}

TEST_F(StatusNotifierItemTest, RegistersWithAWatcherThatTakesTheNameFromAnother) {
    bus_.startWatcher();
    const auto& item = makeItem();
    ASSERT_TRUE(waitUntil([&] { return item.registration() == Registration::done; }));
    const auto& second = bus_.startWatcher();
    EXPECT_TRUE(waitUntil([&] { return !second.items.isEmpty(); }));
    EXPECT_TRUE(waitUntil([&] { return item.registration() == Registration::done; }));
}

TEST_F(StatusNotifierItemTest, KnowsThatAWatcherTakesNoItems) {
    bus_.startWatcher(StatusNotifierWatcher::Mood::refusesItems);
    const auto& item = makeItem();
    EXPECT_TRUE(waitUntil([&] { return item.registration() == Registration::refused; }));
}

TEST_F(StatusNotifierItemTest, AsksAWatcherThatRefusedItAgainWhenAHostComes) {
    auto& watcher = bus_.startWatcher(StatusNotifierWatcher::Mood::refusesItems);
    const auto& item = makeItem();
    ASSERT_TRUE(waitUntil([&] { return item.registration() == Registration::refused; }));
    watcher.mood = StatusNotifierWatcher::Mood::takesItems;
    emit watcher.StatusNotifierHostRegistered();
    EXPECT_TRUE(waitUntil([&] { return item.registration() == Registration::done; }));
    emit watcher.StatusNotifierHostRegistered();
    EXPECT_EQ(property("Status"), QStringLiteral("Active"));
    EXPECT_EQ(watcher.items.size(), 2) << "an item that is registered is not registered again";
}

TEST_F(StatusNotifierItemTest, SaysWhatItIs) {
    makeItem();
    EXPECT_EQ(property("Title"), QStringLiteral("VELLO by QUORVIN"));
    EXPECT_EQ(property("Id"), QStringLiteral("com.quorvin.Vello"));
    EXPECT_EQ(property("Category"), QStringLiteral("ApplicationStatus"));
    EXPECT_EQ(property("Status"), QStringLiteral("Active"));
    EXPECT_EQ(property("ItemIsMenu"), false);
    EXPECT_EQ(property("Menu").value<QDBusObjectPath>().path(), QStringLiteral("/MenuBar"));
    const auto toolTip = qdbus_cast<StatusNotifierToolTip>(property("ToolTip"));
    EXPECT_EQ(toolTip.title, QStringLiteral("VELLO by QUORVIN"));
}

TEST_F(StatusNotifierItemTest, ShowsItsIconAsPixelsInEverySizeThatHostsAskFor) {
    makeItem();
    const auto pixmaps = qdbus_cast<QList<StatusNotifierPixmap>>(property("IconPixmap"));
    ASSERT_EQ(pixmaps.size(), static_cast<qsizetype>(std::size(kTrayIconSizes)));
    for (qsizetype i = 0; i < pixmaps.size(); ++i) {
        const int size = kTrayIconSizes[i];
        EXPECT_EQ(pixmaps[i].width, size);
        EXPECT_EQ(pixmaps[i].height, size);
        ASSERT_EQ(pixmaps[i].bytes.size(), size * size * 4);
        EXPECT_EQ(pixmaps[i].bytes.left(4), QByteArray("\xff\xc8\x64\x32", 4)) << "alpha, red, green, blue";
    }
}

TEST_F(StatusNotifierItemTest, NamesAnIconOnlyWhereItWasGivenOne) {
    makeItem();
    EXPECT_EQ(property("IconName"), QString());
    item_.reset();
    makeItem(QStringLiteral("some-symbolic"));
    EXPECT_EQ(property("IconName"), QStringLiteral("some-symbolic"));
    EXPECT_EQ(property("OverlayIconName"), QString());
    EXPECT_EQ(property("AttentionIconName"), QString());
}

/// Records the item's change signals.
class IconListener : public QObject {
    Q_OBJECT

public:
    int changes = 0;

public slots:
    void hear() { ++changes; }
};

TEST_F(StatusNotifierItemTest, TellsItsHostWhenItLooksDifferent) {
    auto& item = makeItem(QStringLiteral("some-symbolic"));
    IconListener listener;
    QDBusConnection host = bus_.hostsSide();
    ASSERT_TRUE(host.connect(bus_.itemsSide().baseService(), kItemPath, kItemInterface,
                             QStringLiteral("NewIcon"), &listener, SLOT(hear())));
    item.setLook({QIcon(), QStringLiteral("other-symbolic")});
    ASSERT_TRUE(waitUntil([&] { return listener.changes == 1; }));
    EXPECT_EQ(property("IconName"), QStringLiteral("other-symbolic"));
}

TEST_F(StatusNotifierItemTest, TellsWhereItWasActivated) {
    auto& item = makeItem();
    QList<QPoint> places;
    QObject::connect(&item, &StatusNotifierItem::activated, [&](int x, int y) { places.append({x, y}); });
    EXPECT_EQ(call("Activate", {1200, 15}).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(call("SecondaryActivate", {-7, 0}).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(places, (QList<QPoint>{{1200, 15}, {-7, 0}}));
}

TEST_F(StatusNotifierItemTest, TellsWhereAHostWithoutMenusWantsOne) {
    auto& item = makeItem();
    QList<QPoint> places;
    QObject::connect(&item, &StatusNotifierItem::menuRequested, [&](int x, int y) { places.append({x, y}); });
    EXPECT_EQ(call("ContextMenu", {30, 40}).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(places, (QList<QPoint>{{30, 40}}));
}

TEST_F(StatusNotifierItemTest, TakesTheTurnsOfAWheelAndDoesNothing) {
    makeItem();
    EXPECT_EQ(call("Scroll", {120, QStringLiteral("vertical")}).type(), QDBusMessage::ReplyMessage);
}

TEST_F(StatusNotifierItemTest, KeepsTheTokenForTheWindowThatItsHostAllowsToComeToTheFront) {
    makeItem();
    EXPECT_EQ(call("ProvideXdgActivationToken", {QStringLiteral("token-5")}).type(),
              QDBusMessage::ReplyMessage);
    EXPECT_EQ(qgetenv("XDG_ACTIVATION_TOKEN"), "token-5");
    qunsetenv("XDG_ACTIVATION_TOKEN");
}

TEST_F(StatusNotifierItemTest, LivesWithoutABus) {
    const QDBusConnection none(QStringLiteral("nowhere"));
    const StatusNotifierItem item(none, menu_, {});
    EXPECT_TRUE(waitUntil([&] { return item.registration() == Registration::refused; }));
}

} // namespace
} // namespace vello

#include "StatusNotifierItemTest.moc"
