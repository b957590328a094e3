// SPDX-License-Identifier: Apache-2.0
#include "WaylandDesktop.h"

#include "LayerShell.h"
#include "UI/Shell/WorkArea.h"
#include "WaylandKeyboard.h"

#include <QGuiApplication>
#include <qpa/qplatformnativeinterface.h>

namespace vello {
namespace {

/// Larger than an item of a bar, in pixels.
constexpr int kLargestItem = 48;

wl_output* outputOf(QScreen* screen) {
    return screen ? static_cast<wl_output*>(
                        QGuiApplication::platformNativeInterface()->nativeResourceForScreen("output", screen))
                  : nullptr;
}

bool isSway() {
    return !qEnvironmentVariableIsEmpty("SWAYSOCK");
}

bool hasKeyboard() {
    return QGuiApplication::platformNativeInterface()->nativeResourceForIntegration("wl_keyboard") != nullptr;
}

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

WaylandDesktop::WaylandDesktop(wl_display* display) : shell_(LayerShell::find(display)) {
    watchKeyboard();
}

WaylandDesktop::~WaylandDesktop() = default;

/// Hosts that know where their bar is report the compositor's own coordinates. The others report where the
/// pointer was on the item, which says nothing about the screen.
std::optional<QPoint> WaylandDesktop::place(QPoint native) const {
    const bool isOnItem = native.x() < kLargestItem && native.y() < kLargestItem;
    return isOnItem || !QGuiApplication::screenAt(native) ? std::nullopt : std::optional(native);
}

std::optional<QRect> WaylandDesktop::workArea(const QScreen& screen) const {
    return workAreaOfDesktop(screen, QDBusConnection::sessionBus());
}

/// Not every compositor counts the desktop's own bars among those that it keeps layers clear of.
LayerPlace WaylandDesktop::layerPlace(const WindowPlace& place) const {
    LayerPlace layer{place.corner, place.horizontal, place.vertical, outputOf(place.screen)};
    const auto area = place.screen ? workArea(*place.screen) : std::nullopt;
    if (!area)
        return layer;
    const QRect screen = place.screen->geometry();
    layer.isOverBars = true;
    layer.horizontal += isLeft(place.corner) ? area->left() - screen.left() : screen.right() - area->right();
    layer.vertical += isTop(place.corner) ? area->top() - screen.top() : screen.bottom() - area->bottom();
    return layer;
}

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
    if (isSway() && hasKeyboard())
        watchReturningKeyboard(window);
}

/// At a press on another window, sway 1.7 takes the keyboard from a layer and gives it back at once.
void WaylandDesktop::watchReturningKeyboard(QWindow& window) {
    auto* const seat = static_cast<wl_seat*>(
        QGuiApplication::platformNativeInterface()->nativeResourceForIntegration("wl_seat"));
    keyboard_ = std::make_unique<WaylandKeyboard>(seat, [this, &window](const wl_surface* surface) {
        if (panel_ && surface == surfaceOf(window))
            QMetaObject::invokeMethod(
                this,
                [this, &window] {
                    if (window.isActive())
                        emit keyboardLost();
                },
                Qt::QueuedConnection);
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
    panel_ = shell_->makeSurface(surfaceOf(window), layerPlace(place), window.size());
    connect(panel_.get(), &LayerSurface::closed, this, &WaylandDesktop::windowClosed, Qt::QueuedConnection);
}

void WaylandDesktop::limit(QWindow& window, const QRect& panel, int, double) {
    window.setMask(panel); // on Wayland the mask only limits where clicks count
}

/// Qt passes the token on when it activates the window.
void WaylandDesktop::acceptStart(const std::string& token) {
    if (!token.empty())
        qputenv("XDG_ACTIVATION_TOKEN", QByteArray::fromStdString(token));
}

} // namespace vello
