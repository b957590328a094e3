// SPDX-License-Identifier: Apache-2.0
#include "WaylandDesktop.h"

#include "LayerShell.h"

#include <QGuiApplication>
#include <qpa/qplatformnativeinterface.h>

namespace vello {
namespace {

wl_surface* surfaceOf(QWindow& window) {
    return static_cast<wl_surface*>(
        QGuiApplication::platformNativeInterface()->nativeResourceForWindow("surface", &window));
}

} // namespace

std::unique_ptr<WaylandDesktop> WaylandDesktop::ofToolkit() {
    if (!QGuiApplication::platformName().startsWith(QLatin1String("wayland")))
        return nullptr;
    auto* const display = static_cast<wl_display*>(
        QGuiApplication::platformNativeInterface()->nativeResourceForIntegration("wl_display"));
    return display ? std::unique_ptr<WaylandDesktop>(new WaylandDesktop(display)) : nullptr;
}

WaylandDesktop::WaylandDesktop(wl_display* display) : shell_(LayerShell::find(display)) {}

WaylandDesktop::~WaylandDesktop() = default;

void WaylandDesktop::adopt(QWindow& window) {
    if (!shell_)
        return;
    // Qt then creates the surface without a role, so that we can assign the layer role.
    qputenv("QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT", "1");
    window.setFlag(Qt::BypassWindowManagerHint);
    // The role must be destroyed before the surface, which Qt destroys when it hides the window.
    connect(&window, &QWindow::visibleChanged, this, [this](bool isVisible) {
        if (!isVisible)
            panel_.reset();
    });
    connect(&window, &QWindow::activeChanged, this, [this, &window] {
        if (panel_ && window.isActive())
            panel_->releaseKeyboard();
    });
}

void WaylandDesktop::prepare(QWindow& window, const WindowPlace& place) {
    if (!shell_)
        return;
    if (!surfaceOf(window)) {
        // Qt has destroyed the surface of a window that was shown before.
        window.destroy();
        window.create();
    }
    panel_ = shell_->makeSurface(surfaceOf(window), place.corner, place.inset, window.size());
    connect(panel_.get(), &LayerSurface::closed, &window, &QWindow::hide, Qt::QueuedConnection);
}

void WaylandDesktop::limit(QWindow& window, const QRect& panel, int, double) {
    window.setMask(panel); // on Wayland the mask only limits where clicks count
}

} // namespace vello
