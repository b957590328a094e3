// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/StatusNotifierItem.h"

#include "Foundation/Product.h"
#include "UI/Shell/TrayIcon.h"

#include <QDBusMessage>
#include <QDBusMetaType>
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

StatusNotifierItem::StatusNotifierItem(QDBusConnection connection, DBusMenu& menu, Look look)
    : connection_(std::move(connection)), look_(std::move(look)),
      watcher_(kWatcherName, connection_, QDBusServiceWatcher::WatchForOwnerChange) {
    qDBusRegisterMetaType<StatusNotifierPixmap>();
    qDBusRegisterMetaType<QList<StatusNotifierPixmap>>();
    qDBusRegisterMetaType<StatusNotifierToolTip>();
    connection_.registerObject(kItemPath, this,
                               QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllProperties |
                                   QDBusConnection::ExportNonScriptableSignals);
    connection_.registerObject(kMenuPath, &menu, QDBusConnection::ExportAllContents);
    connection_.connect(kWatcherName, kWatcherPath, kWatcherName,
                        QStringLiteral("StatusNotifierHostRegistered"), this, SLOT(retryWithWatcher()));
    connect(&watcher_, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) {
                if (!owner.isEmpty())
                    return registerWithWatcher();
                request_.reset();
                setRegistration(Registration::refused);
            });
    registerWithWatcher();
}

StatusNotifierItem::~StatusNotifierItem() {
    if (!connection_.isConnected())
        return; // Qt does not support unregistering without a connection
    connection_.unregisterObject(kItemPath);
    connection_.unregisterObject(kMenuPath);
}

void StatusNotifierItem::setLook(Look look) {
    look_ = std::move(look);
    emit NewIcon();
}

QString StatusNotifierItem::id() const {
    return QString::fromUtf8(kBundleIdentifier);
}

QDBusObjectPath StatusNotifierItem::menu() const {
    return QDBusObjectPath(kMenuPath);
}

void StatusNotifierItem::registerWithWatcher() {
    if (!connection_.isConnected()) {
        // Without a connection the call would never be answered.
        QMetaObject::invokeMethod(
            this, [this] { setRegistration(Registration::refused); }, Qt::QueuedConnection);
        return;
    }
    QDBusMessage call = QDBusMessage::createMethodCall(kWatcherName, kWatcherPath, kWatcherName,
                                                       QStringLiteral("RegisterStatusNotifierItem"));
    call << connection_.baseService();
    request_ = std::make_unique<QDBusPendingCallWatcher>(connection_.asyncCall(call));
    connect(request_.get(), &QDBusPendingCallWatcher::finished, this, [this] {
        const bool isTaken = !QDBusPendingReply<>(*request_).isError();
        setRegistration(isTaken ? Registration::done : Registration::refused);
    });
}

void StatusNotifierItem::retryWithWatcher() {
    if (registration_ == Registration::refused)
        registerWithWatcher();
}

void StatusNotifierItem::setRegistration(Registration registration) {
    if (registration == registration_)
        return;
    registration_ = registration;
    emit registrationChanged();
}

QList<StatusNotifierPixmap> StatusNotifierItem::iconPixmap() const {
    QList<StatusNotifierPixmap> pixmaps;
    for (const int size : kTrayIconSizes) {
        const QImage image = look_.icon.pixmap(QSize(size, size), 1.0).toImage();
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

void StatusNotifierItem::ContextMenu(int x, int y) {
    emit menuRequested(x, y);
}

void StatusNotifierItem::Scroll(int, const QString&) {}

void StatusNotifierItem::ProvideXdgActivationToken(const QString& token) {
    qputenv("XDG_ACTIVATION_TOKEN", token.toUtf8());
}

} // namespace vello
