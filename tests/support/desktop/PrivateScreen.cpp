// SPDX-License-Identifier: Apache-2.0
#include "PrivateScreen.h"

#include "ScreenConnection.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include <poll.h>

#include <xcb/shape.h>

namespace vello::session {
namespace {

using namespace std::chrono_literals;

constexpr auto kStartLimit = 30s;

constexpr auto kBetweenMoves = 5ms;
constexpr auto kBeforePress = 150ms;
constexpr auto kBeforeRelease = 30ms;
constexpr auto kDoubleClickInterval = 400ms; ///< of toolkits, where the desktop sets none
constexpr auto kBetweenKeys = 10ms;

/// The server prints its display number on a separate line when it accepts connections.
std::string awaitNumber(ChildProcess& server) {
    const auto deadline = std::chrono::steady_clock::now() + kStartLimit;
    while (true) {
        std::istringstream output(server.output());
        for (std::string line; std::getline(output, line) && !output.eof();)
            if (!line.empty() && line.find_first_not_of("0123456789") == std::string::npos)
                return line;
        if (server.waitForExit(5ms) || std::chrono::steady_clock::now() > deadline)
            throw std::runtime_error("the screen does not start:\n" + server.output());
    }
}

std::string nameOf(const PrivateScreen::Connection& connection, xcb_window_t window) {
    const auto name = connection.text(window, "_NET_WM_NAME");
    return name.empty() ? connection.text(window, "WM_NAME") : name;
}

bool isViewable(const PrivateScreen::Connection& connection, xcb_window_t window) {
    const auto cookie = xcb_get_window_attributes(connection.xcb(), window);
    const XReply<xcb_get_window_attributes_reply_t> reply(
        xcb_get_window_attributes_reply(connection.xcb(), cookie, nullptr));
    return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
}

QRect areaOf(const PrivateScreen::Connection& connection, xcb_window_t window) {
    auto* const xcb = connection.xcb();
    const XReply<xcb_shape_query_extents_reply_t> shape(
        xcb_shape_query_extents_reply(xcb, xcb_shape_query_extents(xcb, window), nullptr));
    if (!shape)
        return {};
    const auto cookie = xcb_translate_coordinates(
        xcb, window, connection.root(), shape->bounding_shape_extents_x, shape->bounding_shape_extents_y);
    const XReply<xcb_translate_coordinates_reply_t> place(
        xcb_translate_coordinates_reply(xcb, cookie, nullptr));
    if (!place)
        return {};
    return {place->dst_x, place->dst_y, shape->bounding_shape_extents_width,
            shape->bounding_shape_extents_height};
}

void collect(const PrivateScreen::Connection& connection, xcb_window_t window,
             std::vector<ScreenWindow>& windows) {
    for (const xcb_window_t child : connection.children(window)) {
        if (const auto name = nameOf(connection, child); !name.empty())
            windows.push_back({child, name, areaOf(connection, child), isViewable(connection, child)});
        collect(connection, child, windows);
    }
}

} // namespace

std::string describe(const std::vector<ScreenWindow>& windows) {
    std::ostringstream text;
    for (const ScreenWindow& window : windows)
        text << window.name << ": " << window.area.width() << "x" << window.area.height() << " at "
             << window.area.x() << "," << window.area.y() << (window.isVisible ? "\n" : ", not shown\n");
    return text.str();
}

PrivateScreen::PrivateScreen(const Environment& environment, const std::filesystem::path& folder) {
    const std::string size = std::to_string(width) + "x" + std::to_string(height) + "x24";
    server_ =
        std::make_unique<ChildProcess>(std::vector<std::string>{"Xvfb", "-displayfd", "1", "-screen", "0",
                                                                size, "-nolisten", "tcp", "-noreset"},
                                       environment, folder / "screen.log");
    name_ = std::string(":").append(awaitNumber(*server_));
    connection_ = std::make_unique<Connection>(name_);
    // Window managers have made these known on other screens, and some programs do not make them known
    // themselves.
    for (const char* name : {"_NET_WM_NAME", "UTF8_STRING", "WM_PROTOCOLS", "WM_DELETE_WINDOW"})
        connection_->atom(name);
}

PrivateScreen::~PrivateScreen() {
    connection_.reset();
    server_->terminate(); // so that it removes its socket
}

QImage PrivateScreen::picture(QRect part) const {
    const auto cookie = xcb_get_image(
        connection_->xcb(), XCB_IMAGE_FORMAT_Z_PIXMAP, connection_->root(),
        static_cast<std::int16_t>(part.x()), static_cast<std::int16_t>(part.y()),
        static_cast<std::uint16_t>(part.width()), static_cast<std::uint16_t>(part.height()), ~0U);
    const XReply<xcb_get_image_reply_t> reply(xcb_get_image_reply(connection_->xcb(), cookie, nullptr));
    if (!reply)
        throw std::runtime_error("the screen gives no picture");
    return QImage(xcb_get_image_data(reply.get()), part.width(), part.height(), QImage::Format_RGB32).copy();
}

std::vector<ScreenWindow> PrivateScreen::windows() const {
    std::vector<ScreenWindow> result;
    collect(*connection_, connection_->root(), result);
    return result;
}

std::optional<ScreenWindow> PrivateScreen::window(const std::string& name) const {
    const auto all = windows();
    const auto found = std::ranges::find_if(
        all, [&](const ScreenWindow& window) { return window.name == name && window.isVisible; });
    return found == all.end() ? std::nullopt : std::optional(*found);
}

bool PrivateScreen::hasKeyboard(const ScreenWindow& window) const {
    const XReply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(connection_->xcb(), xcb_get_input_focus(connection_->xcb()), nullptr));
    return reply && reply->focus == window.id;
}

std::uint32_t PrivateScreen::makeWindow(const std::string& name, QRect area) const {
    auto* const xcb = connection_->xcb();
    const xcb_window_t window = xcb_generate_id(xcb);
    xcb_create_window(xcb, XCB_COPY_FROM_PARENT, window, connection_->root(),
                      static_cast<std::int16_t>(area.x()), static_cast<std::int16_t>(area.y()),
                      static_cast<std::uint16_t>(area.width()), static_cast<std::uint16_t>(area.height()), 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL,
                      &connection_->screen().white_pixel);
    xcb_change_property(xcb, XCB_PROP_MODE_REPLACE, window, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8,
                        static_cast<std::uint32_t>(name.size()), name.c_str());
    return window;
}

void PrivateScreen::openWindow(const std::string& name, QRect area) {
    xcb_map_window(connection_->xcb(), makeWindow(name, area));
    connection_->synchronize();
}

void PrivateScreen::closeWindow(const ScreenWindow& window) {
    xcb_client_message_event_t message{};
    message.response_type = XCB_CLIENT_MESSAGE;
    message.format = 32;
    message.window = window.id;
    message.type = connection_->atom("WM_PROTOCOLS");
    message.data.data32[0] = connection_->atom("WM_DELETE_WINDOW");
    xcb_send_event(connection_->xcb(), 0, window.id, XCB_EVENT_MASK_NO_EVENT,
                   reinterpret_cast<const char*>(&message));
    connection_->synchronize();
}

bool PrivateScreen::awaitWindowsShown(std::chrono::milliseconds timeout) const {
    const xcb_window_t window = makeWindow("probe", {0, 0, 1, 1});
    const bool isShown = waitUntil(
        [&] {
            xcb_map_window(connection_->xcb(), window);
            return isViewable(*connection_, window);
        },
        timeout);
    xcb_destroy_window(connection_->xcb(), window);
    connection_->synchronize();
    return isShown;
}

bool PrivateScreen::hasWindowManager() const {
    return connection_->windowIn(connection_->root(), "_NET_SUPPORTING_WM_CHECK") != XCB_NONE;
}

bool PrivateScreen::hasCompositor() const {
    return connection_->isOwned("_NET_WM_CM_S0");
}

bool PrivateScreen::hasEmbeddingTray() const {
    return connection_->isOwned("_NET_SYSTEM_TRAY_S0");
}

void PrivateScreen::awaitEvent(std::chrono::milliseconds timeout) const {
    pollfd events{xcb_get_file_descriptor(connection_->xcb()), POLLIN, 0};
    ::poll(&events, 1, static_cast<int>(timeout.count()));
    while (const XReply<xcb_generic_event_t> event{xcb_poll_for_event(connection_->xcb())})
        continue;
}

void PrivateScreen::movePointer(QPoint place) {
    connection_->fake(XCB_MOTION_NOTIFY, 0, kBetweenMoves, place);
}

void PrivateScreen::pressButton(int button) {
    connection_->fake(XCB_BUTTON_PRESS, static_cast<std::uint8_t>(button), kBeforePress);
}

void PrivateScreen::releaseButton(int button) {
    connection_->fake(XCB_BUTTON_RELEASE, static_cast<std::uint8_t>(button), kBeforeRelease);
    lastRelease_ = std::chrono::steady_clock::now();
}

void PrivateScreen::click(QPoint place, int button) {
    movePointer(place);
    pressButton(button);
    releaseButton(button);
}

void PrivateScreen::clickApart(QPoint place) {
    waitUntil([this] { return std::chrono::steady_clock::now() - lastRelease_ > kDoubleClickInterval; });
    click(place);
}

void PrivateScreen::drag(QPoint from, QPoint to) {
    constexpr int steps = 8;
    movePointer(from);
    pressButton();
    for (int step = 1; step <= steps; ++step)
        movePointer(from + (to - from) * step / steps);
    releaseButton();
}

void PrivateScreen::pressKeys(const std::vector<std::uint32_t>& keySymbols) {
    std::vector<xcb_keycode_t> pressed;
    for (const std::uint32_t symbol : keySymbols) {
        pressed.push_back(connection_->strokeOf(symbol).code);
        connection_->fake(XCB_KEY_PRESS, pressed.back(), kBetweenKeys);
    }
    for (const xcb_keycode_t code : pressed)
        connection_->fake(XCB_KEY_RELEASE, code, kBetweenKeys);
}

void PrivateScreen::type(std::string_view text) {
    constexpr std::uint32_t shift = 0xffe1; // the keysyms of Latin letters equal their character codes
    for (const char letter : text) {
        const auto symbol = static_cast<unsigned char>(letter);
        if (connection_->strokeOf(symbol).isShifted)
            pressKeys({shift, symbol});
        else
            pressKeys({symbol});
    }
}

} // namespace vello::session
