// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/TrayIcon.h"

#include "Foundation/Product.h"

#include <QPainter>
#include <QStandardPaths>
#include <QStringList>
#include <QSvgRenderer>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vello {
namespace {

const QColor kLight(0xf7, 0xf7, 0xf7);
const QColor kRim(0x10, 0x10, 0x14);
constexpr double kRimPerSize = 1.0 / 22.0;
constexpr int kRimDirections = 16;

QImage drawn(QSvgRenderer& drawing, int size, double inset, const QColor& colour) {
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    drawing.render(&painter, QRectF(inset, inset, size - 2.0 * inset, size - 2.0 * inset));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(image.rect(), colour);
    return image;
}

QPixmap rimmed(QSvgRenderer& drawing, int size) {
    const double rim = std::max(1.0, size * kRimPerSize);
    // The drawing already has a small margin.
    const double inset = rim / 2.0;
    const QImage shade = drawn(drawing, size, inset, kRim);
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    for (int i = 0; i < kRimDirections; ++i) {
        const double angle = 2.0 * std::numbers::pi * i / kRimDirections;
        painter.drawImage(QPointF(rim * std::cos(angle), rim * std::sin(angle)), shade);
    }
    painter.drawImage(QPointF(), drawn(drawing, size, inset, kLight));
    return pixmap;
}

} // namespace

QIcon trayIcon() {
    QSvgRenderer drawing(QStringLiteral(":/vello/symbols/slider.vertical.3.svg"));
    QIcon icon;
    for (const int size : kTrayIconSizes)
        icon.addPixmap(rimmed(drawing, size));
    return icon;
}

QString symbolicTrayIconName(const QString& currentDesktop) {
    const QStringList desktops = currentDesktop.split(u':');
    const bool paintsSymbols =
        std::ranges::any_of(desktops, [](const QString& name) { return name == u"KDE" || name == u"GNOME"; });
    const QString name = QString::fromUtf8(kBundleIdentifier) + QStringLiteral("-symbolic");
    const auto isInstalled = [&name](const char* folder) {
        return !QStandardPaths::locate(
                    QStandardPaths::GenericDataLocation,
                    QStringLiteral("icons/hicolor/%1/apps/%2.svg").arg(QString::fromUtf8(folder), name))
                    .isEmpty();
    };
    return paintsSymbols && (isInstalled("symbolic") || isInstalled("scalable")) ? name : QString();
}

} // namespace vello
