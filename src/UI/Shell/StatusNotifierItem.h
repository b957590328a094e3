// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/Shell/DBusMenu.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QIcon>
#include <QObject>

#include <memory>

namespace vello {

/// An image in the D-Bus format (iiay): 32-bit ARGB with the most significant byte first.
struct StatusNotifierPixmap {
    int width = 0;
    int height = 0;
    QByteArray bytes = {};
};
/// D-Bus format (sa(iiay)ss).
struct StatusNotifierToolTip {
    QString iconName = {};
    QList<StatusNotifierPixmap> pixmaps = {};
    QString title = {};
    QString text = {};
};

QDBusArgument& operator<<(QDBusArgument& out, const StatusNotifierPixmap& pixmap);
const QDBusArgument& operator>>(const QDBusArgument& in, StatusNotifierPixmap& pixmap);
QDBusArgument& operator<<(QDBusArgument& out, const StatusNotifierToolTip& toolTip);
const QDBusArgument& operator>>(const QDBusArgument& in, StatusNotifierToolTip& toolTip);

/// The status item on the bus, with the interface org.kde.StatusNotifierItem. Registers with the current
/// watcher, again whenever a watcher starts, and again when a watcher that has refused the item gets a host.
/// It registers the connection's unique name: some watchers lose an item whose well-known name they first
/// have to look up.
class StatusNotifierItem : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category CONSTANT)
    Q_PROPERTY(QString Id READ id CONSTANT)
    Q_PROPERTY(QString Title READ title CONSTANT)
    Q_PROPERTY(QString Status READ status CONSTANT)
    Q_PROPERTY(int WindowId READ windowID CONSTANT)
    Q_PROPERTY(QString IconName READ iconName)
    Q_PROPERTY(QList<vello::StatusNotifierPixmap> IconPixmap READ iconPixmap)
    Q_PROPERTY(QString OverlayIconName READ noIconName CONSTANT)
    Q_PROPERTY(QString AttentionIconName READ noIconName CONSTANT)
    Q_PROPERTY(vello::StatusNotifierToolTip ToolTip READ toolTip CONSTANT)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu CONSTANT)
    Q_PROPERTY(QDBusObjectPath Menu READ menu CONSTANT)

public:
    enum class Registration {
        asking, ///< no answer from a watcher yet
        done,
        refused ///< no watcher, or the watcher refused the item
    };
    /// The icon of the item. Hosts prefer the name, if it is set, and look it up in the icon theme.
    struct Look {
        QIcon icon = {};
        QString name = {};
    };

    /// The menu and the connection must outlive the item.
    StatusNotifierItem(QDBusConnection connection, DBusMenu& menu, Look look);
    ~StatusNotifierItem() override;

    /// Also tells the host.
    void setLook(Look look);
    Registration registration() const { return registration_; }

    QString category() const { return QStringLiteral("ApplicationStatus"); }
    QString id() const;
    QString title() const { return QStringLiteral("VELLO by QUORVIN"); }
    QString status() const { return QStringLiteral("Active"); }
    int windowID() const { return 0; }
    QString iconName() const { return look_.name; }
    QString noIconName() const { return {}; }
    QList<StatusNotifierPixmap> iconPixmap() const;
    StatusNotifierToolTip toolTip() const { return {{}, {}, title(), {}}; }
    bool itemIsMenu() const { return false; }
    QDBusObjectPath menu() const;

public slots:
    void Activate(int x, int y);
    void SecondaryActivate(int x, int y);
    void ContextMenu(int x, int y);
    void Scroll(int delta, const QString& orientation);
    void ProvideXdgActivationToken(const QString& token);

signals:
    void NewTitle();
    void NewIcon();
    void NewAttentionIcon();
    void NewOverlayIcon();
    void NewToolTip();
    void NewStatus(const QString& status);

    // For the application, not for the bus.
    Q_SCRIPTABLE void registrationChanged();
    /// The host reports an activation, at this place in the host's own coordinates.
    Q_SCRIPTABLE void activated(int x, int y);
    /// Emitted for a host that does not show menus of items.
    Q_SCRIPTABLE void menuRequested(int x, int y);

private:
    void registerWithWatcher();
    Q_SLOT void retryWithWatcher();
    void setRegistration(Registration registration);

    QDBusConnection connection_;
    Look look_;
    QDBusServiceWatcher watcher_;
    std::unique_ptr<QDBusPendingCallWatcher> request_; ///< answers to older requests are dropped
    Registration registration_ = Registration::asking;
};

} // namespace vello

Q_DECLARE_METATYPE(vello::StatusNotifierPixmap)
Q_DECLARE_METATYPE(vello::StatusNotifierToolTip)
