// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Shell/TrayMenu.h"

#include <QDBusArgument>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

#include <functional>
#include <vector>

namespace vello {

/// One entry of the menu in the D-Bus format (ia{sv}av).
struct DBusMenuLayout {
    int id = 0;
    QVariantMap properties = {};
    QList<DBusMenuLayout> children = {};
};
/// D-Bus format (ia{sv}).
struct DBusMenuItem {
    int id = 0;
    QVariantMap properties = {};
};
/// D-Bus format (isvu).
struct DBusMenuEvent {
    int id = 0;
    QString name = {};
    QDBusVariant data = {};
    uint time = 0;
};

QDBusArgument& operator<<(QDBusArgument& out, const DBusMenuLayout& layout);
const QDBusArgument& operator>>(const QDBusArgument& in, DBusMenuLayout& layout);
QDBusArgument& operator<<(QDBusArgument& out, const DBusMenuItem& item);
const QDBusArgument& operator>>(const QDBusArgument& in, DBusMenuItem& item);
QDBusArgument& operator<<(QDBusArgument& out, const DBusMenuEvent& event);
const QDBusArgument& operator>>(const QDBusArgument& in, DBusMenuEvent& event);

/// A menu on the bus with the interface com.canonical.dbusmenu, version 3. It is rebuilt whenever the host
/// requests it. An ID always means the same entry: a click on an entry that no longer exists does nothing.
class DBusMenu : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.canonical.dbusmenu")
    Q_PROPERTY(uint Version READ version CONSTANT)
    Q_PROPERTY(QString TextDirection READ textDirection CONSTANT)
    Q_PROPERTY(QString Status READ status CONSTANT)
    Q_PROPERTY(QStringList IconThemePath READ iconThemePath CONSTANT)

public:
    using MakeMenu = std::function<std::vector<TrayMenuEntry>()>;

    explicit DBusMenu(MakeMenu makeMenu);

    uint version() const { return 3; }
    QString textDirection() const;
    QString status() const { return QStringLiteral("normal"); }
    QStringList iconThemePath() const { return {}; }

    /// Notifies the host that its copy of the menu is out of date.
    void invalidate();

public slots:
    uint GetLayout(int parentID, int recursionDepth, const QStringList& propertyNames,
                   vello::DBusMenuLayout& layout);
    QList<vello::DBusMenuItem> GetGroupProperties(const QList<int>& ids, const QStringList& propertyNames);
    QDBusVariant GetProperty(int id, const QString& name);
    void Event(int id, const QString& name, const QDBusVariant& data, uint time);
    QList<int> EventGroup(const QList<vello::DBusMenuEvent>& events);
    bool AboutToShow(int id);
    QList<int> AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors);

signals:
    void ItemsPropertiesUpdated(const QList<vello::DBusMenuItem>& updated,
                                const QList<vello::DBusMenuItem>& removed);
    void LayoutUpdated(uint revision, int parent);
    void ItemActivationRequested(int id, uint time);

private:
    void makeEntries();
    /// Null for an unknown ID.
    const TrayMenuEntry* entry(int id) const;
    bool isKnown(int id) const { return id == 0 || entry(id); }
    QVariantMap properties(int id) const;

    MakeMenu makeMenu_;
    std::vector<TrayMenuEntry> entries_;
    int firstID_ = 1; ///< of the entries, which have consecutive IDs; 0 is the menu itself
    uint revision_ = 1;
};

} // namespace vello

Q_DECLARE_METATYPE(vello::DBusMenuLayout)
Q_DECLARE_METATYPE(vello::DBusMenuItem)
Q_DECLARE_METATYPE(vello::DBusMenuEvent)
