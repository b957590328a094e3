// SPDX-License-Identifier: Apache-2.0
#include "UI/DesktopAppearance.h"

#include <QFontInfo>
#include <QGuiApplication>
#include <QPalette>

#include <algorithm>

namespace vello {
namespace {

/// Pixels of a body text at its normal scale.
constexpr double kBodySize = 13.0;

} // namespace

Appearance paletteAppearance() {
    const QPalette palette = QGuiApplication::palette();
    Appearance appearance;
    appearance.isDark =
        palette.color(QPalette::Window).lightnessF() < palette.color(QPalette::WindowText).lightnessF();
    appearance.fontScale = std::max(1.0, QFontInfo(QGuiApplication::font()).pixelSize() / kBodySize);
    return appearance;
}

} // namespace vello
