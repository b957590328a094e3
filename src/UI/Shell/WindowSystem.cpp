// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/WindowSystem.h"

#include "WaylandDesktop.h"
#include "X11Desktop.h"

namespace vello {

std::unique_ptr<WindowSystem> WindowSystem::ofToolkit() {
    if (auto x11 = X11Desktop::connectToDisplay())
        return x11;
    if (auto wayland = WaylandDesktop::ofToolkit())
        return wayland;
    return std::make_unique<WindowSystem>();
}

std::optional<QPoint> WindowSystem::place(QPoint) const {
    return std::nullopt;
}

void WindowSystem::adopt(QWindow&) {}

void WindowSystem::prepare(QWindow& window, const WindowPlace& place) {
    window.setPosition(place.position);
}

void WindowSystem::limit(QWindow&, const QRect&, int, double) {}

} // namespace vello
