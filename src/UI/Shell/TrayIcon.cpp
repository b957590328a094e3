// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/TrayIcon.h"

#include "Foundation/Product.h"

#include <QPainter>
#include <QStandardPaths>
#include <QStringList>
#include <QSvgRenderer>

#include <algorithm>
#include <array>

namespace vello {
namespace {

const QColor kLight(0xf7, 0xf7, 0xf7);
/// Translucent, so that the icon is grey and not black on a white bar.
const QColor kRim(0x10, 0x10, 0x14, 0x99);
constexpr double kDimmed = 0.45; ///< opacity

QImage clear(int size) {
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

void paint(QImage& shape, const QColor& colour) {
    QPainter painter(&shape);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(shape.rect(), colour);
}

/// The size of the drawing that stays on whole pixels when it is enlarged to `size`.
int drawingFor(int size) {
    constexpr std::array drawings{24, 22, 16};
    return *std::ranges::find_if(drawings, [size](int drawing) { return size % drawing == 0; });
}

QImage drawn(int size) {
    QSvgRenderer drawing(QStringLiteral(":/vello/tray/%1.svg").arg(drawingFor(size)));
    QImage image = clear(size);
    QPainter painter(&image);
    drawing.render(&painter);
    return image;
}

QPixmap rimmed(int size, double opacity) {
    const int pixel = size / drawingFor(size);
    QImage body = drawn(size);
    QImage rim = clear(size);
    QPainter rimPainter(&rim);
    for (const QPoint step :
         {QPoint(0, 0), {-1, 0}, {1, 0}, {0, -1}, {0, 1}, {-1, -1}, {1, -1}, {-1, 1}, {1, 1}})
        rimPainter.drawImage(step * pixel, body);
    rimPainter.end();
    paint(rim, kRim);
    paint(body, kLight);
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setOpacity(opacity);
    painter.drawImage(QPoint(), rim);
    painter.drawImage(QPoint(), body);
    return pixmap;
}

} // namespace

QIcon trayIcon(TrayIconLight light) {
    QIcon icon;
    for (const int size : kTrayIconSizes)
        icon.addPixmap(rimmed(size, light == TrayIconLight::dimmed ? kDimmed : 1.0));
    return icon;
}

QString symbolicTrayIconName(const QString& currentDesktop, TrayIconLight light) {
    const QStringList desktops = currentDesktop.split(u':');
    const bool paintsSymbols =
        std::ranges::any_of(desktops, [](const QString& name) { return name == u"KDE" || name == u"GNOME"; });
    const QString name =
        QString::fromUtf8(kBundleIdentifier) +
        (light == TrayIconLight::dimmed ? QStringLiteral("-off-symbolic") : QStringLiteral("-symbolic"));
    const auto isInstalled = [&name](const char* folder) {
        return !QStandardPaths::locate(
                    QStandardPaths::GenericDataLocation,
                    QStringLiteral("icons/hicolor/%1/apps/%2.svg").arg(QString::fromUtf8(folder), name))
                    .isEmpty();
    };
    return paintsSymbols && (isInstalled("symbolic") || isInstalled("scalable")) ? name : QString();
}

} // namespace vello
