// SPDX-License-Identifier: Apache-2.0
#include "Wallpaper.h"

#include <QLinearGradient>
#include <QPainter>
#include <QRadialGradient>

#include <random>

namespace vello {
namespace {

void paintGradient(QPainter& painter, const QRectF& bounds, const QColor& from, const QColor& to) {
    QLinearGradient sky(bounds.topLeft(), bounds.bottomRight());
    sky.setStops({{0.0, from}, {1.0, to}});
    painter.fillRect(bounds, sky);
}

void paintBusyScene(QPainter& painter, const QRectF& bounds) {
    std::mt19937 random(3);
    std::uniform_real_distribution share(0.0, 1.0);
    paintGradient(painter, bounds, QColor(0xf6, 0xe7, 0x9a), QColor(0x12, 0x2a, 0x3c));
    painter.setPen(Qt::NoPen);
    for (int spot = 0; spot < 160; ++spot) {
        const QPointF centre(share(random) * bounds.width(), share(random) * bounds.height());
        const double radius = 6.0 + 50.0 * share(random) * share(random);
        const QColor color = QColor::fromHsvF(static_cast<float>(share(random)), 0.8F,
                                              static_cast<float>(0.2 + 0.8 * share(random)));
        QRadialGradient light(centre, radius);
        light.setStops({{0.0, color.lighter(160)}, {0.8, color}, {1.0, Qt::transparent}});
        painter.setBrush(light);
        painter.drawEllipse(centre, radius, radius);
    }
    for (double y = 0.0; y < bounds.height(); y += 14.0) {
        painter.setPen(share(random) < 0.5 ? Qt::white : Qt::black);
        painter.drawText(QPointF(share(random) * 40.0, y),
                         QStringLiteral("What somebody wrote in a document that lies behind the panel"));
    }
}

} // namespace

QImage wallpaper(const QString& name, QSize pixels) {
    QImage image(pixels, QImage::Format_RGB32);
    QPainter painter(&image);
    const QRectF bounds{QPointF(), QSizeF(pixels)};
    if (name == QLatin1String("white"))
        painter.fillRect(bounds, Qt::white);
    else if (name == QLatin1String("black"))
        painter.fillRect(bounds, Qt::black);
    else if (name == QLatin1String("busy"))
        paintBusyScene(painter, bounds);
    else if (name == QLatin1String("dusk"))
        paintGradient(painter, bounds, QColor(0x24, 0x30, 0x4f), QColor(0x4a, 0x2f, 0x4f));
    else if (name == QLatin1String("dawn"))
        paintGradient(painter, bounds, QColor(0x9e, 0xc5, 0xe8), QColor(0xe8, 0xc9, 0xb0));
    else
        return {};
    return image;
}

} // namespace vello
