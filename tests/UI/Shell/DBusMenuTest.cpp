// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/DBusMenu.h"

#include "StatusNotifierHost.h"
#include "support/WaitUntil.h"

#include <gmock/gmock.h>
#include <QDBusMetaType>
#include <QDBusVariant>

#include <string>
#include <vector>

namespace vello {
namespace {

const QString kPath = QStringLiteral("/Menu");
const QString kInterface = QStringLiteral("com.canonical.dbusmenu");

/// A menu entry as decoded by the host.
struct Line {
    int id = 0;
    QVariantMap properties = {};
};
struct Layout {
    uint revision = 0;
    QList<Line> lines = {};

    Line labelled(const QString& label) const {
        for (const Line& line : lines)
            if (line.properties.value(QStringLiteral("label")) == label)
                return line;
        return {};
    }
};

Layout read(const QDBusMessage& reply) {
    Layout layout;
    layout.revision = reply.arguments().at(0).toUInt();
    const auto root = reply.arguments().at(1).value<QDBusArgument>();
    int rootID = -1;
    QVariantMap rootProperties;
    root.beginStructure();
    root >> rootID >> rootProperties;
    root.beginArray();
    while (!root.atEnd()) {
        QDBusVariant child;
        root >> child;
        const auto structure = child.variant().value<QDBusArgument>();
        Line line;
        structure.beginStructure();
        structure >> line.id >> line.properties;
        structure.endStructure();
        layout.lines.append(line);
    }
    root.endArray();
    root.endStructure();
    return layout;
}

class DBusMenuTest : public testing::Test {
protected:
    DBusMenuTest() {
        QDBusConnection(bus_.itemsSide()).registerObject(kPath, &menu_, QDBusConnection::ExportAllContents);
    }

    std::vector<TrayMenuEntry> entries() {
        std::vector<TrayMenuEntry> made{
            {QStringLiteral("Open"), false, false, [this] { chosen_.emplace_back("Open"); }},
            {},
            {QStringLiteral("Enabled"), true, isEnabled_, [this] { isEnabled_ = !isEnabled_; }},
        };
        if (!heading_.isEmpty())
            made.push_back({heading_});
        for (const QString& preset : presets_)
            made.push_back(
                {preset, true, false, [this, preset] { chosen_.push_back(preset.toStdString()); }});
        made.push_back({QStringLiteral("Quit"), false, false, [this] { chosen_.emplace_back("Quit"); }});
        return made;
    }
    QDBusMessage call(const char* method, const QVariantList& arguments) const {
        return bus_.call(kPath, kInterface, QString::fromUtf8(method), arguments);
    }
    Layout layout() const { return read(call("GetLayout", {0, -1, QStringList()})); }
    QDBusMessage click(int id) const {
        return call("Event", {id, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(QString())),
                              QVariant::fromValue(0U)});
    }

    StatusNotifierBus bus_;
    bool isEnabled_ = true;
    QString heading_;
    QStringList presets_;
    std::vector<std::string> chosen_;
    DBusMenu menu_{[this] { return entries(); }};
};

TEST_F(DBusMenuTest, IsAMenuOfTheThirdVersion) {
    EXPECT_EQ(bus_.property(kPath, kInterface, QStringLiteral("Version")), 3U);
    EXPECT_EQ(bus_.property(kPath, kInterface, QStringLiteral("Status")), QStringLiteral("normal"));
    EXPECT_EQ(bus_.property(kPath, kInterface, QStringLiteral("TextDirection")), QStringLiteral("ltr"));
}

TEST_F(DBusMenuTest, ShowsItsLinesInOrderWithDividersAndMarks) {
    const Layout shown = layout();
    ASSERT_EQ(shown.lines.size(), 4);
    EXPECT_EQ(shown.lines[0].properties, (QVariantMap{{QStringLiteral("label"), QStringLiteral("Open")}}));
    EXPECT_EQ(shown.lines[1].properties,
              (QVariantMap{{QStringLiteral("type"), QStringLiteral("separator")}}));
    EXPECT_EQ(shown.lines[2].properties,
              (QVariantMap{{QStringLiteral("label"), QStringLiteral("Enabled")},
                           {QStringLiteral("toggle-type"), QStringLiteral("checkmark")},
                           {QStringLiteral("toggle-state"), 1}}));
    EXPECT_EQ(shown.lines[3].properties, (QVariantMap{{QStringLiteral("label"), QStringLiteral("Quit")}}));
}

TEST_F(DBusMenuTest, ShowsAHeadingThatCannotBeChosen) {
    heading_ = QStringLiteral("Music Player");
    const Line heading = layout().labelled(heading_);
    EXPECT_EQ(heading.properties.value(QStringLiteral("enabled")), false);
    EXPECT_EQ(click(heading.id).type(), QDBusMessage::ReplyMessage);
    EXPECT_THAT(chosen_, testing::IsEmpty());
}

TEST_F(DBusMenuTest, LeavesTheLinesOutWhereTheHostAsksForTheMenuAlone) {
    EXPECT_TRUE(read(call("GetLayout", {0, 0, QStringList()})).lines.isEmpty());
}

TEST_F(DBusMenuTest, KeepsTheUnderscoresOfAName) {
    presets_ = {QStringLiteral("late_night")};
    EXPECT_NE(layout().labelled(QStringLiteral("late__night")).id, 0);
}

TEST_F(DBusMenuTest, DoesWhatTheClickedLineSays) {
    EXPECT_EQ(click(layout().labelled(QStringLiteral("Open")).id).type(), QDBusMessage::ReplyMessage);
    EXPECT_THAT(chosen_, testing::ElementsAre("Open"));
    click(layout().labelled(QStringLiteral("Enabled")).id);
    EXPECT_FALSE(isEnabled_);
    EXPECT_EQ(layout().labelled(QStringLiteral("Enabled")).properties.value(QStringLiteral("toggle-state")),
              0);
}

TEST_F(DBusMenuTest, DoesNothingAtAnyOtherEvent) {
    const int open = layout().labelled(QStringLiteral("Open")).id;
    call("Event",
         {open, QStringLiteral("hovered"), QVariant::fromValue(QDBusVariant(0)), QVariant::fromValue(0U)});
    for (const int id : {0, -1, 999, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        EXPECT_EQ(click(id).type(), QDBusMessage::ReplyMessage) << id;
    EXPECT_THAT(chosen_, testing::IsEmpty());
}

TEST_F(DBusMenuTest, KeepsTheNumbersWhileTheLinesStay) {
    const int quit = layout().labelled(QStringLiteral("Quit")).id;
    isEnabled_ = false;
    EXPECT_EQ(layout().labelled(QStringLiteral("Quit")).id, quit);
}

TEST_F(DBusMenuTest, NeverTakesAClickOnAnOldLineForOneOnANewLine) {
    const Layout old = layout();
    presets_ = {QStringLiteral("Mine")};
    const Layout now = layout();
    for (const Line& line : old.lines)
        click(line.id);
    EXPECT_THAT(chosen_, testing::IsEmpty());
    click(now.labelled(QStringLiteral("Mine")).id);
    EXPECT_THAT(chosen_, testing::ElementsAre("Mine"));
}

TEST_F(DBusMenuTest, TakesSeveralEventsAtOnceAndNamesTheLinesThatItDoesNotKnow) {
    const int quit = layout().labelled(QStringLiteral("Quit")).id;
    const QList<DBusMenuEvent> events{{quit, QStringLiteral("clicked"), QDBusVariant(0), 0},
                                      {777, QStringLiteral("clicked"), QDBusVariant(0), 0}};
    const QDBusMessage reply = call("EventGroup", {QVariant::fromValue(events)});
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    EXPECT_EQ(qdbus_cast<QList<int>>(reply.arguments().first()), QList<int>{777});
    EXPECT_THAT(chosen_, testing::ElementsAre("Quit"));
}

TEST_F(DBusMenuTest, GivesTheHostANewMenuEveryTimeItIsAboutToShowIt) {
    const uint before = layout().revision;
    const QDBusMessage reply = call("AboutToShow", {0});
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(reply.arguments().first(), true);
    EXPECT_GT(layout().revision, before);
    EXPECT_EQ(call("AboutToShow", {layout().lines.first().id}).arguments().first(), false);
}

TEST_F(DBusMenuTest, AnswersForSeveralLinesThatAreAboutToShow) {
    const int open = layout().labelled(QStringLiteral("Open")).id;
    const QDBusMessage reply = call("AboutToShowGroup", {QVariant::fromValue(QList<int>{0, open, 777})});
    ASSERT_EQ(reply.type(), QDBusMessage::ReplyMessage) << reply.errorMessage().toStdString();
    EXPECT_EQ(qdbus_cast<QList<int>>(reply.arguments().at(0)), QList<int>{0});
    EXPECT_EQ(qdbus_cast<QList<int>>(reply.arguments().at(1)), QList<int>{777});
}

TEST_F(DBusMenuTest, TellsThePropertiesOfTheLinesThatAreAskedFor) {
    const int open = layout().labelled(QStringLiteral("Open")).id;
    const QDBusMessage reply =
        call("GetGroupProperties", {QVariant::fromValue(QList<int>{open, 777}), QStringList()});
    const auto items = qdbus_cast<QList<DBusMenuItem>>(reply.arguments().first());
    ASSERT_EQ(items.size(), 1);
    EXPECT_EQ(items.first().id, open);
    EXPECT_EQ(items.first().properties.value(QStringLiteral("label")), QStringLiteral("Open"));
    const QDBusMessage label = call("GetProperty", {open, QStringLiteral("label")});
    EXPECT_EQ(label.arguments().first().value<QDBusVariant>().variant(), QStringLiteral("Open"));
}

/// Records the menu's change signals.
class LayoutListener : public QObject {
    Q_OBJECT

public:
    QList<uint> revisions;

public slots:
    void hear(uint revision, int) { revisions.append(revision); }
};

TEST_F(DBusMenuTest, TellsItsHostThatWhatItKnowsIsOld) {
    LayoutListener listener;
    QDBusConnection host = bus_.hostsSide();
    ASSERT_TRUE(host.connect(bus_.itemsSide().baseService(), kPath, kInterface,
                             QStringLiteral("LayoutUpdated"), &listener, SLOT(hear(uint, int))));
    const uint before = layout().revision;
    menu_.invalidate();
    ASSERT_TRUE(waitUntil([&] { return !listener.revisions.isEmpty(); }));
    EXPECT_GT(listener.revisions.first(), before);
    EXPECT_EQ(layout().revision, listener.revisions.first());
}

} // namespace
} // namespace vello

#include "DBusMenuTest.moc"
