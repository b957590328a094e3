// SPDX-License-Identifier: Apache-2.0
#include "WaylandDesktop.h"

#include "LayerShell.h"
#include "PressCatcher.h"
#include "UI/Shell/WorkArea.h"

#include <QGuiApplication>
#include <qpa/qplatformnativeinterface.h>

#include <utility>

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
    if (!isSway())
        watchKeyboard();
}

WaylandDesktop::~WaylandDesktop() = default;

/// Hosts that know where their bar is report the compositor's own coordinates. The others report where the
/// pointer was on the item, which says nothing about the screen.
std::optional<QPoint> WaylandDesktop::place(QPoint native) const {
    const bool isOnItem = native.x() < kLargestItem && native.y() < kLargestItem;
    return isOnItem || !QGuiApplication::screenAt(native) ? std::nullopt : std::optional(native);
}

/// On sway each monitor has a bar. Elsewhere the bar with the items is on the primary one.
QScreen* WaylandDesktop::activeScreen() const {
    if (const auto output = focusedOutputOfDesktop())
        for (QScreen* const screen : QGuiApplication::screens())
            if (screen->name() == *output)
                return screen;
    return WindowSystem::activeScreen();
}

std::optional<QRect> WaylandDesktop::workArea(const QScreen& screen) const {
    return workAreaOfDesktop(screen, QDBusConnection::sessionBus());
}

/// Not every compositor counts the desktop's own bars among those that it keeps layers clear of.
LayerPlace WaylandDesktop::layerPlace(const WindowPlace& place) const {
    LayerPlace layer{place.corner, place.horizontal, place.vertical, outputOf(place.screen)};
    layer.isTopmost = isSway(); // compositors disagree about the order of the layers among those of bars
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
            removeLayers();
    });
    connect(&window, &QWindow::activeChanged, this, [this, &window] {
        if (panel_ && outside_.empty() && window.isActive())
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
    if (isSway())
        catchPresses();
    panel_ = shell_->makeSurface(surfaceOf(window), layerPlace(place), window.size());
    connect(panel_.get(), &LayerSurface::closed, this, &WaylandDesktop::windowClosed, Qt::QueuedConnection);
}

/// On sway the keyboard follows the pointer: it leaves the panel when the pointer only passes over another
/// window, also on the way from the bar to the panel. So there the panel keeps the keyboard, and a press
/// outside is caught, on every screen.
void WaylandDesktop::catchPresses() {
    removeLayers();
    for (QScreen* const screen : QGuiApplication::screens()) {
        auto catcher = std::make_unique<PressCatcher>();
        catcher->setScreen(screen);
        catcher->create();
        auto layer = shell_->fill(surfaceOf(*catcher), outputOf(screen));
        connect(catcher.get(), &PressCatcher::pressed, this, &WaylandDesktop::pressedOutside,
                Qt::QueuedConnection);
        catcher->resize(layer->size());
        catcher->show();
        outside_.push_back({std::move(catcher), std::move(layer)});
    }
}

/// The roles are removed before the surfaces.
void WaylandDesktop::removeLayers() {
    panel_.reset();
    outside_.clear();
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
