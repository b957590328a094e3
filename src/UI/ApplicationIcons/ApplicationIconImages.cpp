// SPDX-License-Identifier: Apache-2.0
#include "UI/ApplicationIcons/ApplicationIconImages.h"

#include <QImage>
#include <QPainter>
#include <QPixmap>

#include <algorithm>
#include <array>
#include <cstring>

namespace vello {
namespace {

/// The panel shows icons of 22 points, on screens with a scale of 1, 1.5, 2, 3 or 4.
constexpr std::array kSides{22, 33, 44, 66, 88};

QImage emptyImage(int side) {
    QImage image(side, side, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

QImage drawn(const QIcon& icon, int side) {
    QImage image = emptyImage(side);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(image.rect(), icon.pixmap(QSize(side, side), 1.0));
    return image;
}

} // namespace

QByteArray applicationIconImages(const QIcon& icon) {
    QByteArray images;
    for (const int side : kSides) {
        const QImage image = drawn(icon, side);
        images.append(reinterpret_cast<const char*>(image.constBits()), image.sizeInBytes());
    }
    return images;
}

QIcon applicationIcon(const QByteArray& images) {
    QIcon icon;
    qsizetype place = 0;
    for (const int side : kSides) {
        QImage image = emptyImage(side);
        if (images.size() - place < image.sizeInBytes())
            return {};
        std::memcpy(image.bits(), images.constData() + place, static_cast<std::size_t>(image.sizeInBytes()));
        place += image.sizeInBytes();
        icon.addPixmap(QPixmap::fromImage(image));
    }
    return place == images.size() ? icon : QIcon();
}

} // namespace vello
