// SPDX-License-Identifier: Apache-2.0
#include "UI/StatusNotifierItem.h"

#include "Models/Product.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QImage>
#include <QtEndian>

#include <utility>

namespace vello {
namespace {

const QString kItemPath = QStringLiteral("/StatusNotifierItem");
const QString kMenuPath = QStringLiteral("/MenuBar");
const QString kWatcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const QString kWatcherPath = QStringLiteral("/StatusNotifierWatcher");
constexpr int kIconSizes[] = {16, 22, 24, 32, 48};

StatusNotifierPixmap travelling(const QImage& image) {
    StatusNotifierPixmap pixmap{image.width(), image.height(), {}};
    pixmap.bytes.resize(image.width() * image.height() * 4);
    for (int row = 0; row < image.height(); ++row)
        qToBigEndian<quint32>(image.constScanLine(row), image.width(),
                              pixmap.bytes.data() + row * image.width() * 4);
    return pixmap;
}

} // namespace

QDBusArgument& operator<<(QDBusArgument& out, const StatusNotifierPixmap& pixmap) {
    out.beginStructure();
    out << pixmap.width << pixmap.height << pixmap.bytes;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, StatusNotifierPixmap& pixmap) {
    in.beginStructure();
    in >> pixmap.width >> pixmap.height >> pixmap.bytes;
    in.endStructure();
    return in;
}

QDBusArgument& operator<<(QDBusArgument& out, const StatusNotifierToolTip& toolTip) {
    out.beginStructure();
    out << toolTip.iconName << toolTip.pixmaps << toolTip.title << toolTip.text;
    out.endStructure();
    return out;
}

const QDBusArgument& operator>>(const QDBusArgument& in, StatusNotifierToolTip& toolTip) {
    in.beginStructure();
    in >> toolTip.iconName >> toolTip.pixmaps >> toolTip.title >> toolTip.text;
    in.endStructure();
    return in;
}

StatusNotifierItem::StatusNotifierItem(QDBusConnection connection, DBusMenu& menu, QIcon icon)
    : connection_(std::move(connection)), icon_(std::move(icon)),
      service_(QStringLiteral("org.kde.StatusNotifierItem-%1-1").arg(QCoreApplication::applicationPid())),
      watcher_(kWatcherName, connection_, QDBusServiceWatcher::WatchForOwnerChange) {
    qDBusRegisterMetaType<StatusNotifierPixmap>();
    qDBusRegisterMetaType<QList<StatusNotifierPixmap>>();
    qDBusRegisterMetaType<StatusNotifierToolTip>();
    connection_.registerObject(kItemPath, this,
                               QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties |
                                   QDBusConnection::ExportNonScriptableSignals);
    connection_.registerObject(kMenuPath, &menu, QDBusConnection::ExportAllContents);
    connection_.registerService(service_);
    connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this,
            &StatusNotifierItem::registerWithWatcher);
    connect(&watcher_, &QDBusServiceWatcher::serviceUnregistered, this, [this] { setRegistered(false); });
    registerWithWatcher();
}

StatusNotifierItem::~StatusNotifierItem() {
    connection_.unregisterService(service_);
    connection_.unregisterObject(kItemPath);
    connection_.unregisterObject(kMenuPath);
}

QString StatusNotifierItem::id() const {
    return QString::fromUtf8(kBundleIdentifier);
}

QDBusObjectPath StatusNotifierItem::menu() const {
    return QDBusObjectPath(kMenuPath);
}

void StatusNotifierItem::registerWithWatcher() {
    QDBusMessage call = QDBusMessage::createMethodCall(kWatcherName, kWatcherPath, kWatcherName,
                                                       QStringLiteral("RegisterStatusNotifierItem"));
    call << service_;
    auto* const reply = new QDBusPendingCallWatcher(connection_.asyncCall(call), this);
    connect(reply, &QDBusPendingCallWatcher::finished, this, [this, reply] {
        setRegistered(!QDBusPendingReply<>(*reply).isError());
        reply->deleteLater();
    });
}

void StatusNotifierItem::setRegistered(bool isRegistered) {
    if (isRegistered == isRegistered_)
        return;
    isRegistered_ = isRegistered;
    emit registeredChanged();
}

void StatusNotifierItem::setIcon(const QIcon& icon) {
    icon_ = icon;
    emit NewIcon();
}

QList<StatusNotifierPixmap> StatusNotifierItem::iconPixmap() const {
    QList<StatusNotifierPixmap> pixmaps;
    for (const int size : kIconSizes) {
        const QImage image = icon_.pixmap(QSize(size, size), 1.0).toImage();
        pixmaps.append(travelling(image.convertToFormat(QImage::Format_ARGB32)));
    }
    return pixmaps;
}

void StatusNotifierItem::Activate(int x, int y) {
    emit activated(x, y);
}

void StatusNotifierItem::SecondaryActivate(int x, int y) {
    emit activated(x, y);
}

// Hosts show the menu themselves.
void StatusNotifierItem::ContextMenu(int, int) {}

void StatusNotifierItem::Scroll(int, const QString&) {}

void StatusNotifierItem::ProvideXdgActivationToken(const QString& token) {
    qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
}

} // namespace vello
