// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/DBusMenu.h"

#include <QDBusMetaType>
#include <QGuiApplication>

#include <algorithm>
#include <utility>

namespace vello {

QDBusArgument& operator<<(QDBusArgument& out, const DBusMenuLayout& layout) {
    out.beginStructure();
    out << layout.id << layout.properties;
    out.beginArray(qMetaTypeId<QDBusVariant>());
    for (const DBusMenuLayout& child : layout.children)
        out << QDBusVariant(QVariant::fromValue(child));
    out.endArray();
    out.endStructure();
    return out;
}

// Hosts never send a layout, but Qt's type system requires both directions.
const QDBusArgument& operator>>(const QDBusArgument& in, DBusMenuLayout&) {
    return in;
}

QDBusArgument& operator<<(QDBusArgument& out, const DBusMenuItem& item) {
    out.beginStructure();
    out << item.id << item.properties;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, DBusMenuItem& item) {
    in.beginStructure();
    in >> item.id >> item.properties;
    in.endStructure();
    return in;
}

QDBusArgument& operator<<(QDBusArgument& out, const DBusMenuEvent& event) {
    out.beginStructure();
    out << event.id << event.name << event.data << event.time;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, DBusMenuEvent& event) {
    in.beginStructure();
    in >> event.id >> event.name >> event.data >> event.time;
    in.endStructure();
    return in;
}

DBusMenu::DBusMenu(MakeMenu makeMenu) : makeMenu_(std::move(makeMenu)) {
    qDBusRegisterMetaType<DBusMenuLayout>();
    qDBusRegisterMetaType<DBusMenuItem>();
    qDBusRegisterMetaType<QList<DBusMenuItem>>();
    qDBusRegisterMetaType<DBusMenuEvent>();
    qDBusRegisterMetaType<QList<DBusMenuEvent>>();
    makeEntries();
}

void DBusMenu::makeEntries() {
    auto made = makeMenu_();
    if (!std::ranges::equal(made, entries_, {}, &TrayMenuEntry::label, &TrayMenuEntry::label))
        firstID_ += static_cast<int>(entries_.size());
    entries_ = std::move(made);
}

const TrayMenuEntry* DBusMenu::entry(int id) const {
    const auto index = static_cast<std::size_t>(id) - static_cast<std::size_t>(firstID_);
    return id >= firstID_ && index < entries_.size() ? &entries_[index] : nullptr;
}

QString DBusMenu::textDirection() const {
    return QGuiApplication::isRightToLeft() ? QStringLiteral("rtl") : QStringLiteral("ltr");
}

void DBusMenu::invalidate() {
    ++revision_;
    emit LayoutUpdated(revision_, 0);
}

uint DBusMenu::GetLayout(int parentID, int recursionDepth, const QStringList&, DBusMenuLayout& layout) {
    if (parentID == 0)
        makeEntries();
    layout = {parentID, properties(parentID)};
    if (parentID == 0 && recursionDepth != 0) {
        for (int id = firstID_; entry(id); ++id)
            layout.children.append({id, properties(id)});
    }
    return revision_;
}

QVariantMap DBusMenu::properties(int id) const {
    if (id == 0)
        return {{QStringLiteral("children-display"), QStringLiteral("submenu")}};
    const TrayMenuEntry* const line = entry(id);
    if (!line)
        return {};
    if (line->isDivider())
        return {{QStringLiteral("type"), QStringLiteral("separator")}};
    // A single underscore marks a shortcut.
    QVariantMap properties{
        {QStringLiteral("label"), QString(line->label).replace(u'_', QStringLiteral("__"))}};
    if (line->isHeading())
        properties.insert(QStringLiteral("enabled"), false);
    if (line->isCheckable) {
        properties.insert(QStringLiteral("toggle-type"), QStringLiteral("checkmark"));
        properties.insert(QStringLiteral("toggle-state"), line->isChecked ? 1 : 0);
    }
    return properties;
}

QList<DBusMenuItem> DBusMenu::GetGroupProperties(const QList<int>& ids, const QStringList&) {
    QList<DBusMenuItem> items;
    for (const int id : ids) {
        if (isKnown(id))
            items.append({id, properties(id)});
    }
    return items;
}

QDBusVariant DBusMenu::GetProperty(int id, const QString& name) {
    return QDBusVariant(properties(id).value(name, QString()));
}

void DBusMenu::Event(int id, const QString& name, const QDBusVariant&, uint) {
    const TrayMenuEntry* const line = entry(id);
    if (!line || name != QLatin1String("clicked"))
        return;
    // A copy, because the action may rebuild the menu.
    if (const auto choose = line->choose)
        choose();
}

QList<int> DBusMenu::EventGroup(const QList<DBusMenuEvent>& events) {
    QList<int> unknown;
    for (const DBusMenuEvent& event : events) {
        if (!isKnown(event.id))
            unknown.append(event.id);
        else
            Event(event.id, event.name, event.data, event.time);
    }
    return unknown;
}

bool DBusMenu::AboutToShow(int id) {
    if (id != 0)
        return false;
    ++revision_;
    return true;
}

QList<int> DBusMenu::AboutToShowGroup(const QList<int>& ids, QList<int>& idErrors) {
    QList<int> needUpdate;
    for (const int id : ids) {
        if (!isKnown(id))
            idErrors.append(id);
        else if (AboutToShow(id))
            needUpdate.append(id);
    }
    return needUpdate;
}

} // namespace vello
