// SPDX-License-Identifier: Apache-2.0
#include "UI/ImageBlur.h"
#include "UI/SpringFollower.h"

#include "PanelScene.h"

#include <gtest/gtest.h>
#include <QColor>

#include <cmath>

namespace vello {
namespace {

struct Spread {
    double sum = 0.0;
    double variance = 0.0;
};

/// Of the alpha along the middle row.
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

TEST(SpringFollowerTest, StartsAtItsFirstTargetAndReachesTheNext) {
    SpringFollower follower;
    follower.setAnimated(false);
    follower.setTo(1.0);
    EXPECT_EQ(follower.value(), 1.0);
    follower.setAnimated(true);
    follower.setResponse(0.1);
    follower.setTo(2.0);
    EXPECT_TRUE(follower.isMoving());
    EXPECT_EQ(follower.value(), 1.0);
    EXPECT_TRUE(PanelScene::waitUntil([&] { return !follower.isMoving(); }));
    EXPECT_EQ(follower.value(), 2.0);
}

TEST(SpringFollowerTest, GoesOnUpwardsWhenItsTargetFallsInFlight) {
    SpringFollower follower;
    follower.setResponse(0.4);
    follower.setTo(1.0);
    ASSERT_TRUE(PanelScene::waitUntil([&] { return follower.value() > 0.2; }));
    const double turned = follower.value();
    follower.setTo(0.0);
    double highest = turned;
    QObject::connect(&follower, &SpringFollower::valueChanged,
                     [&] { highest = std::max(highest, follower.value()); });
    ASSERT_TRUE(PanelScene::waitUntil([&] { return !follower.isMoving(); }));
    EXPECT_GT(highest, turned);
    EXPECT_EQ(follower.value(), 0.0);
}

} // namespace
} // namespace vello
