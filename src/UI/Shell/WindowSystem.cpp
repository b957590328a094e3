// SPDX-License-Identifier: Apache-2.0
#include "UI/Shell/WindowSystem.h"

#include "LayerShell.h"
#include "WaylandDesktop.h"
#include "X11Desktop.h"

#include <QGuiApplication>

namespace vello {

/// Without a layer shell, a Wayland compositor lets no program choose the place of a window or keep it above
/// others. Through the compositor's X server the panel can do both.
bool WindowSystem::chooseForToolkit() {
    const bool isChosenByUser = !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM");
    const bool hasBoth =
        !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY") && !qEnvironmentVariableIsEmpty("DISPLAY");
    return !isChosenByUser && hasBoth && LayerShell::isMissing() && qputenv("QT_QPA_PLATFORM", "xcb");
}

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

QScreen* WindowSystem::activeScreen() const {
    return QGuiApplication::primaryScreen();
}

std::optional<QRect> WindowSystem::workArea(const QScreen& screen) const {
    return screen.availableGeometry();
}

void WindowSystem::adopt(QWindow&) {}

void WindowSystem::prepare(QWindow& window, const WindowPlace& place) {
    window.setPosition(place.position);
}

void WindowSystem::limit(QWindow&, const QRect&, int, double) {}

void WindowSystem::acceptStart(const std::string&) {}

void WindowSystem::watchKeyboard() {
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, [this](const QWindow* focused) {
        if (focused)
            return;
        // The keyboard may be on its way to another window of this program.
        QMetaObject::invokeMethod(
            this,
            [this] {
                if (!QGuiApplication::focusWindow())
                    emit keyboardLost();
            },
            Qt::QueuedConnection);
    });
}

} // namespace vello
