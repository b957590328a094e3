// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/ImageBlur.h"

#include <gtest/gtest.h>
#include <QColor>

namespace vello {
namespace {

struct Spread {
    double sum = 0.0;
    double variance = 0.0;
};

/// Spread of the alpha along the middle row.
Spread spread(const QImage& image) {
    Spread result;
    double moment = 0.0;
    const double middle = (image.width() - 1) / 2.0;
    for (int x = 0; x < image.width(); ++x) {
        double column = 0.0;
        for (int y = 0; y < image.height(); ++y)
            column += qAlpha(image.pixel(x, y));
        result.sum += column;
        moment += column * (x - middle) * (x - middle);
    }
    result.variance = moment / result.sum;
    return result;
}

TEST(ImageBlurTest, SpreadsAsAGaussianOfTheRadiusDoes) {
    QImage image(121, 121, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    for (int x = 40; x <= 80; ++x)
        for (int y = 40; y <= 80; ++y)
            image.setPixelColor(x, y, Qt::white);
    const Spread before = spread(image);
    blur(image, 5.0);
    const Spread after = spread(image);
    EXPECT_NEAR(after.sum / before.sum, 1.0, 0.02);
    EXPECT_NEAR(after.variance - before.variance, 25.0, 2.5);
}

TEST(ImageBlurTest, LeavesAnImageAloneWithoutARadius) {
    QImage image(9, 9, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    image.setPixelColor(4, 4, Qt::white);
    const QImage before = image.copy();
    blur(image, 0.0);
    EXPECT_EQ(image, before);
}

} // namespace
} // namespace vello
