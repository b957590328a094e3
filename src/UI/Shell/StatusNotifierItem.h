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

/// An image as it travels: (iiay), 32-bit ARGB with the most significant byte first.
struct StatusNotifierPixmap {
    int width = 0;
    int height = 0;
    QByteArray bytes = {};
};
/// (sa(iiay)ss).
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

/// The status item on the bus, in the interface org.kde.StatusNotifierItem. It registers with whatever
/// watcher there is, also with one that starts later or again.
class StatusNotifierItem : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category CONSTANT)
    Q_PROPERTY(QString Id READ id CONSTANT)
    Q_PROPERTY(QString Title READ title CONSTANT)
    Q_PROPERTY(QString Status READ status CONSTANT)
    Q_PROPERTY(int WindowId READ windowID CONSTANT)
    Q_PROPERTY(QString IconName READ iconName CONSTANT)
    Q_PROPERTY(QList<vello::StatusNotifierPixmap> IconPixmap READ iconPixmap CONSTANT)
    Q_PROPERTY(QString OverlayIconName READ noIconName CONSTANT)
    Q_PROPERTY(QString AttentionIconName READ noIconName CONSTANT)
    Q_PROPERTY(vello::StatusNotifierToolTip ToolTip READ toolTip CONSTANT)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu CONSTANT)
    Q_PROPERTY(QDBusObjectPath Menu READ menu CONSTANT)

public:
    enum class Registration {
        asking, ///< there is no answer yet whether a watcher takes the item
        done,
        refused ///< there is no watcher, or it takes no items
    };
    /// How the item looks: hosts take the name, if there is one, and look for it in the icon theme.
    struct Look {
        QIcon icon = {};
        QString name = {};
    };

    /// The menu and the connection outlive the item.
    StatusNotifierItem(QDBusConnection connection, DBusMenu& menu, Look look);
    ~StatusNotifierItem() override;

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
    /// By its host, at this place on the screen in the host's own terms.
    Q_SCRIPTABLE void activated(int x, int y);
    /// By a host that shows no menus of others.
    Q_SCRIPTABLE void menuRequested(int x, int y);

private:
    void registerWithWatcher();
    void setRegistration(Registration registration);

    QDBusConnection connection_;
    Look look_;
    QString service_;
    QDBusServiceWatcher watcher_;
    std::unique_ptr<QDBusPendingCallWatcher> request_; ///< the last one counts
    Registration registration_ = Registration::asking;
};

} // namespace vello

Q_DECLARE_METATYPE(vello::StatusNotifierPixmap)
Q_DECLARE_METATYPE(vello::StatusNotifierToolTip)
