// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PrivateBus.h"

#include "support/TemporaryFolder.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QStringList>

#include <memory>

namespace vello {

/// A watcher as implemented by panels: accepts items and records them. Owns the watcher's bus name during its
/// lifetime.
class StatusNotifierWatcher : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")

public:
    enum class Mood { takesItems, refusesItems };

    explicit StatusNotifierWatcher(QDBusConnection connection, Mood firstMood = Mood::takesItems);
    ~StatusNotifierWatcher() override;

    QStringList items;
    Mood mood;

public slots:
    void RegisterStatusNotifierItem(const QString& service, const QDBusMessage& message);

signals:
    void StatusNotifierHostRegistered();

private:
    QDBusConnection connection_;
};

/// A private bus with the item's side and the host's side.
class StatusNotifierBus {
public:
    StatusNotifierBus();
    ~StatusNotifierBus();

    const QDBusConnection& itemsSide() const { return itemsSide_; }
    const QDBusConnection& hostsSide() const { return hostsSide_; }

    /// Starts or stops a watcher. A second watcher replaces the first at once.
    StatusNotifierWatcher&
    startWatcher(StatusNotifierWatcher::Mood mood = StatusNotifierWatcher::Mood::takesItems);
    void stopWatcher() { watcher_.reset(); }

    /// Calls the item as a host does, and returns the reply or the error.
    QDBusMessage call(const QString& path, const QString& interface, const QString& method,
                      const QVariantList& arguments = {}) const;
    /// A property of the item; invalid when the property does not exist.
    QVariant property(const QString& path, const QString& interface, const QString& name) const;

private:
    TemporaryFolder folder_;
    session::PrivateBus bus_{folder_.path(), session::PrivateBus::Services::none};
    QDBusConnection itemsSide_;
    QDBusConnection hostsSide_;
    std::unique_ptr<StatusNotifierWatcher> watcher_;
};

} // namespace vello
