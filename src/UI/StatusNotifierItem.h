// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "UI/DBusMenu.h"

#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QIcon>
#include <QObject>

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

/// The status item on the bus, in the interface org.kde.StatusNotifierItem. It registers with whatever
/// watcher there is, also with one that starts later or again.
class StatusNotifierItem : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
    Q_PROPERTY(QString Category READ category CONSTANT)
    Q_PROPERTY(QString Id READ id CONSTANT)
    Q_PROPERTY(QString Title READ title CONSTANT)
    Q_PROPERTY(QString Status READ status CONSTANT)
    Q_PROPERTY(uint WindowId READ windowID CONSTANT)
    Q_PROPERTY(QString IconName READ iconName CONSTANT)
    Q_PROPERTY(QList<vello::StatusNotifierPixmap> IconPixmap READ iconPixmap CONSTANT)
    Q_PROPERTY(QString OverlayIconName READ iconName CONSTANT)
    Q_PROPERTY(QString AttentionIconName READ iconName CONSTANT)
    Q_PROPERTY(vello::StatusNotifierToolTip ToolTip READ toolTip CONSTANT)
    Q_PROPERTY(bool ItemIsMenu READ itemIsMenu CONSTANT)
    Q_PROPERTY(QDBusObjectPath Menu READ menu CONSTANT)

public:
    /// `icon` is drawn in the colour of the bar's text. The menu and the connection outlive the item.
    StatusNotifierItem(QDBusConnection connection, DBusMenu& menu, QIcon icon);
    ~StatusNotifierItem() override;

    /// Whether a watcher has taken the item.
    bool isRegistered() const { return isRegistered_; }
    void setIcon(const QIcon& icon);

    QString category() const { return QStringLiteral("ApplicationStatus"); }
    QString id() const;
    QString title() const { return QStringLiteral("VELLO by QUORVIN"); }
    QString status() const { return QStringLiteral("Active"); }
    uint windowID() const { return 0; }
    QString iconName() const { return {}; }
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
    Q_SCRIPTABLE void registeredChanged();
    Q_SCRIPTABLE void activated(int x, int y);

private:
    void registerWithWatcher();
    void setRegistered(bool isRegistered);

    QDBusConnection connection_;
    QIcon icon_;
    QString service_;
    QDBusServiceWatcher watcher_;
    bool isRegistered_ = false;
};

} // namespace vello

Q_DECLARE_METATYPE(vello::StatusNotifierPixmap)
Q_DECLARE_METATYPE(vello::StatusNotifierToolTip)
