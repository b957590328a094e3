// SPDX-License-Identifier: Apache-2.0
#include "UI/Appearance/ColorContrast.h"

#include <algorithm>
#include <cmath>

namespace vello {
namespace {

/// The luminance L that has equal contrast to black and white: (1 + 0.05) / (L + 0.05) = (L + 0.05) / 0.05.
constexpr double kMiddleLuminance = 0.179;
constexpr int kSteps = 64;

double linear(float channel) {
    return channel <= 0.04045F ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double relativeLuminance(const QColor& color) {
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

QColor withAlpha(QColor color, float alpha) {
    color.setAlphaF(alpha);
    return color;
}

} // namespace

QColor laidOver(const QColor& top, const QColor& ground) {
    const float share = top.alphaF();
    const auto mix = [share](float upper, float lower) { return upper * share + lower * (1.0F - share); };
    return QColor::fromRgbF(mix(top.redF(), ground.redF()), mix(top.greenF(), ground.greenF()),
                            mix(top.blueF(), ground.blueF()));
}

double contrastRatio(const QColor& one, const QColor& other) {
    const auto [darker, lighter] = std::minmax({relativeLuminance(one), relativeLuminance(other)});
    return (lighter + 0.05) / (darker + 0.05);
}

QColor standingOut(const QColor& ink, std::span<const QColor> grounds, double ratio) {
    const bool isOnDark = std::ranges::all_of(
        grounds, [](double luminance) { return luminance < kMiddleLuminance; }, relativeLuminance);
    const QColor end = isOnDark ? Qt::white : Qt::black;
    for (int step = 0; step < kSteps; ++step) {
        const QColor tried = laidOver(withAlpha(end, static_cast<float>(step) / kSteps), ink);
        if (std::ranges::all_of(grounds,
                                [&](const QColor& ground) { return contrastRatio(tried, ground) >= ratio; }))
            return tried;
    }
    return end;
}

} // namespace vello
