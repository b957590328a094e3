// SPDX-License-Identifier: Apache-2.0
#include "X11Desktop.h"

#include "X11Replies.h"

#include <QGuiApplication>
#include <qpa/qplatformnativeinterface.h>
#include <QScreen>
#include <QSocketNotifier>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <utility>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>
#include <xcb/xinput.h>

namespace vello {
namespace {

constexpr std::uint32_t kRawButtons =
    XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE;
/// The number of the button that closes the panel outside of it. The others open menus there; a wheel has
/// numbers too.
constexpr std::uint32_t kFirstButton = 1;
/// Longer IDs of starts do not exist.
constexpr std::size_t kLongestStart = 512;

int typeOf(const xcb_generic_event_t& event) {
    return event.response_type & 0x7f;
}

std::string selectionOfCompositor(int screenNumber) {
    return "_NET_WM_CM_S" + std::to_string(screenNumber);
}

/// The end of a start in the format of startup notifications, which are read by every window manager.
std::string endOfStart(const std::string& id) {
    std::string message = "remove: ID=\"";
    for (const char character : id) {
        if (character == '"' || character == '\\')
            message += '\\';
        message += character;
    }
    return message + '"';
}

/// Tells Qt's X11 plugin that the user does something now. The plugin is asked by name, because the functions
/// of QX11Info, which do the same, would tie the program to one patch release of Qt.
void noteUserAction() {
    auto* const plugin = QGuiApplication::platformNativeInterface();
    auto* const screen = QGuiApplication::primaryScreen();
    const auto now = static_cast<xcb_timestamp_t>(
        reinterpret_cast<std::uintptr_t>(plugin->nativeResourceForScreen("gettimestamp", screen)));
    for (const char* const name : {"setapptime", "setappusertime"}) {
        using SetTime = void (*)(QScreen*, xcb_timestamp_t);
        auto* const function = reinterpret_cast<void*>(plugin->nativeResourceFunctionForScreen(name));
        if (function != nullptr)
            reinterpret_cast<SetTime>(function)(screen, now);
    }
}

/// The raw event of the first button that this is; 0 for any other event.
int firstButtonEvent(const xcb_generic_event_t& event) {
    if (typeOf(event) != XCB_GE_GENERIC)
        return 0;
    const auto& button = reinterpret_cast<const xcb_input_raw_button_press_event_t&>(event);
    return button.detail == kFirstButton ? button.event_type : 0;
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

class X11Desktop::Connection {
public:
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
    /// Listens to the start and the end of the compositor. Without the extension, a change is noticed when
    /// the panel is opened.
    void listenToCompositor() {
        const auto* const extension = xcb_get_extension_data(xcb, &xcb_xfixes_id);
        const auto selection = atom(xcb, selectionOfCompositor(screenNumber));
        if (!extension || !extension->present || !selection)
            return;
        const auto version = xcb_xfixes_query_version(xcb, 1, 0);
        const Owned<xcb_xfixes_query_version_reply_t> reply(
            xcb_xfixes_query_version_reply(xcb, version, nullptr));
        compositorChanged = static_cast<std::uint8_t>(extension->first_event + XCB_XFIXES_SELECTION_NOTIFY);
        xcb_xfixes_select_selection_input(xcb, root, selection->atom,
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                              XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
        xcb_flush(xcb);
    }
    bool tellsCompositor(const xcb_generic_event_t& event) const {
        return compositorChanged != 0 && typeOf(event) == compositorChanged;
    }
    /// Sends a text to every program that reads startup notifications.
    void broadcast(const std::string& text) const {
        const auto begin = atom(xcb, "_NET_STARTUP_INFO_BEGIN");
        const auto more = atom(xcb, "_NET_STARTUP_INFO");
        if (!begin || !more)
            return;
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 8;
        event.window = xcb_generate_id(xcb);
        event.type = begin->atom;
        xcb_create_window(xcb, 0, event.window, root, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                          XCB_COPY_FROM_PARENT, 0, nullptr);
        // The text ends with a zero byte, which may need a message of its own.
        for (std::size_t sent = 0; sent <= text.size(); sent += sizeof event.data) {
            const std::string part = text.substr(sent, sizeof event.data);
            std::ranges::fill(event.data.data8, std::uint8_t{0});
            std::ranges::copy(part, event.data.data8);
            xcb_send_event(xcb, 0, root, XCB_EVENT_MASK_PROPERTY_CHANGE,
                           reinterpret_cast<const char*>(&event));
            event.type = more->atom;
        }
        xcb_destroy_window(xcb, event.window);
        xcb_flush(xcb);
    }

    int screenNumber = 0;
    xcb_connection_t* xcb;
    xcb_window_t root = XCB_NONE;
    std::uint8_t compositorChanged = 0; ///< the number of that event; 0 without it
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
    connection_->listenToCompositor();
    if (qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        return;
    watchKeyboard();
    // GNOME's desktop takes the keyboard from no window.
    if (qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(u':').contains(QLatin1String("GNOME")))
        backdrop_.emplace(connection_->xcb, connection_->screenNumber);
}

X11Desktop::~X11Desktop() = default;

void X11Desktop::readEvents() {
    while (const Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection_->xcb)}) {
        if (connection_->tellsCompositor(*event))
            emit translucencyChanged();
        switch (firstButtonEvent(*event)) {
        case XCB_INPUT_RAW_BUTTON_PRESS:
            emit buttonPressed(pointerPosition());
            break;
        case XCB_INPUT_RAW_BUTTON_RELEASE:
            emit buttonReleased(pointerPosition());
            break;
        default:
            break;
        }
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
    const auto selection = atom(connection_->xcb, selectionOfCompositor(connection_->screenNumber));
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

void X11Desktop::adopt(QWindow& window) {
    connect(&window, &QWindow::visibleChanged, this, [this](bool isVisible) {
        if (backdrop_)
            backdrop_->setShown(isVisible);
    });
}

void X11Desktop::prepare(QWindow& window, const WindowPlace& place) {
    WindowSystem::prepare(window, place);
    window.create();
    QGuiApplication::sync(); // makes the window known to our own connection
    hideFromTaskbars(window.winId());
    setMargins(window.winId(), static_cast<int>(std::lround(place.margin * window.devicePixelRatio())));
    // The panel opens because the user asked for it, so window managers may give it the keyboard, however
    // long ago the user last used it.
    noteUserAction();
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

/// Window managers that keep windows clear of bars leave this part of the window out.
void X11Desktop::setMargins(unsigned long window, int width) const {
    const auto extents = atom(connection_->xcb, "_GTK_FRAME_EXTENTS");
    if (!extents)
        return;
    const std::array<std::uint32_t, 4> margins{
        static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(width),
        static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(width)};
    const auto cookie = xcb_change_property_checked(
        connection_->xcb, XCB_PROP_MODE_REPLACE, static_cast<xcb_window_t>(window), extents->atom,
        XCB_ATOM_CARDINAL, 32, static_cast<std::uint32_t>(margins.size()), margins.data());
    const Owned<xcb_generic_error_t> error(xcb_request_check(connection_->xcb, cookie));
}

void X11Desktop::acceptStart(const std::string& token) {
    if (!token.empty() && token.size() <= kLongestStart)
        connection_->broadcast(endOfStart(token));
}

} // namespace vello
