// SPDX-License-Identifier: Apache-2.0
#include "X11Desktop.h"

#include <QGuiApplication>
#include <QScreen>
#include <QSocketNotifier>

#include <array>
#include <cmath>
#include <cstdlib>
#include <string>
#include <utility>
#include <xcb/xcb.h>
#include <xcb/xinput.h>

namespace vello {
namespace {

struct Free {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename Reply> using Owned = std::unique_ptr<Reply, Free>;

constexpr std::uint32_t kRawButtons =
    XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE;

Owned<xcb_intern_atom_reply_t> atom(xcb_connection_t* connection, const std::string& name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    return Owned<xcb_intern_atom_reply_t>(xcb_intern_atom_reply(connection, cookie, nullptr));
}

/// The pixels that a rounded rectangle covers completely. Partly covered pixels would show the window's
/// background.
QRegion rounded(const QRect& rect, double radius) {
    const int rows = static_cast<int>(std::ceil(radius));
    QRegion region(rect.adjusted(0, rows, 0, -rows));
    for (int row = 0; row < rows; ++row) {
        const double height = radius - row;
        const int inset = static_cast<int>(std::ceil(radius - std::sqrt(radius * radius - height * height)));
        region += QRect(rect.x() + inset, rect.y() + row, rect.width() - 2 * inset, 1);
        region += QRect(rect.x() + inset, rect.y() + rect.height() - 1 - row, rect.width() - 2 * inset, 1);
    }
    return region;
}

} // namespace

struct X11Desktop::Connection {
    Connection() : xcb(xcb_connect(nullptr, &screenNumber)) {}
    ~Connection() {
        notifier.reset();
        xcb_disconnect(xcb);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool isUsable() const { return xcb_connection_has_error(xcb) == 0; }
    bool findRoot() {
        auto screens = xcb_setup_roots_iterator(xcb_get_setup(xcb));
        for (int number = 0; number < screenNumber && screens.rem > 0; ++number)
            xcb_screen_next(&screens);
        root = screens.rem > 0 ? screens.data->root : XCB_NONE;
        return root != XCB_NONE;
    }
    /// Raw events are delivered for every window, and do not take the events away from that window.
    bool listenToButtons() const {
        const auto version = xcb_input_xi_query_version(xcb, 2, 2);
        const Owned<xcb_input_xi_query_version_reply_t> reply(
            xcb_input_xi_query_version_reply(xcb, version, nullptr));
        if (!reply || reply->major_version < 2)
            return false;
        const struct {
            xcb_input_event_mask_t head;
            std::uint32_t mask;
        } mask{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, kRawButtons};
        xcb_input_xi_select_events(xcb, root, 1, &mask.head);
        xcb_flush(xcb);
        return true;
    }

    int screenNumber = 0;
    xcb_connection_t* xcb;
    xcb_window_t root = XCB_NONE;
    std::unique_ptr<QSocketNotifier> notifier;
};

std::unique_ptr<X11Desktop> X11Desktop::connectToDisplay() {
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return nullptr;
    auto connection = std::make_unique<Connection>();
    if (!connection->isUsable() || !connection->findRoot() || !connection->listenToButtons())
        return nullptr;
    return std::unique_ptr<X11Desktop>(new X11Desktop(std::move(connection)));
}

X11Desktop::X11Desktop(std::unique_ptr<Connection> connection) : connection_(std::move(connection)) {
    connection_->notifier =
        std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection_->xcb), QSocketNotifier::Read);
    connect(connection_->notifier.get(), &QSocketNotifier::activated, this, &X11Desktop::readEvents);
}

X11Desktop::~X11Desktop() = default;

void X11Desktop::readEvents() {
    while (const Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection_->xcb)}) {
        if ((event->response_type & 0x7f) != XCB_GE_GENERIC)
            continue;
        const auto* const generic = reinterpret_cast<const xcb_ge_generic_event_t*>(event.get());
        if (generic->event_type == XCB_INPUT_RAW_BUTTON_PRESS)
            emit buttonPressed(pointerPosition());
        else if (generic->event_type == XCB_INPUT_RAW_BUTTON_RELEASE)
            emit buttonReleased();
    }
    if (!connection_->isUsable())
        connection_->notifier->setEnabled(false);
}

QPoint X11Desktop::pointerPosition() const {
    const auto cookie = xcb_query_pointer(connection_->xcb, connection_->root);
    const Owned<xcb_query_pointer_reply_t> reply(xcb_query_pointer_reply(connection_->xcb, cookie, nullptr));
    return reply ? QPoint(reply->root_x, reply->root_y) : QPoint();
}

bool X11Desktop::hasTranslucency() const {
    const auto selection = atom(connection_->xcb, "_NET_WM_CM_S" + std::to_string(connection_->screenNumber));
    if (!selection)
        return false;
    const auto cookie = xcb_get_selection_owner(connection_->xcb, selection->atom);
    const Owned<xcb_get_selection_owner_reply_t> owner(
        xcb_get_selection_owner_reply(connection_->xcb, cookie, nullptr));
    return owner && owner->owner != XCB_NONE;
}

std::optional<QPoint> X11Desktop::place(QPoint native) const {
    for (const QScreen* const screen : QGuiApplication::screens()) {
        // Qt keeps a screen's origin unscaled and scales only the positions on it.
        const double scale = screen->devicePixelRatio();
        const QRect logical = screen->geometry();
        const QRect physical(logical.topLeft(), (QSizeF(logical.size()) * scale).toSize());
        if (physical.contains(native))
            return logical.topLeft() + (QPointF(native - logical.topLeft()) / scale).toPoint();
    }
    return std::nullopt;
}

void X11Desktop::prepare(QWindow& window, const WindowPlace& place) {
    WindowSystem::prepare(window, place);
    window.create();
    QGuiApplication::sync(); // makes the window known to our own connection
    hideFromTaskbars(window.winId());
}

void X11Desktop::limit(QWindow& window, const QRect& panel, int shadow, double cornerRadius) {
    if (cornerRadius <= 0.0)
        return window.setMask(panel.adjusted(-shadow, -shadow, shadow, shadow));
    window.setMask(rounded(panel, cornerRadius));
}

/// Window managers remove these states whenever the window is hidden.
void X11Desktop::hideFromTaskbars(unsigned long window) const {
    const auto state = atom(connection_->xcb, "_NET_WM_STATE");
    std::array<xcb_atom_t, 3> values{};
    std::size_t count = 0;
    for (const char* const name :
         {"_NET_WM_STATE_SKIP_TASKBAR", "_NET_WM_STATE_SKIP_PAGER", "_NET_WM_STATE_ABOVE"}) {
        if (const auto value = atom(connection_->xcb, name))
            values[count++] = value->atom;
    }
    if (!state)
        return;
    const auto cookie = xcb_change_property_checked(
        connection_->xcb, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window), state->atom,
        XCB_ATOM_ATOM, 32, static_cast<std::uint32_t>(count), values.data());
    // Waits for completion, because Qt adds its own states afterwards.
    const Owned<xcb_generic_error_t> error(xcb_request_check(connection_->xcb, cookie));
}

} // namespace vello
