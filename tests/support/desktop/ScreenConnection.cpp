// SPDX-License-Identifier: Apache-2.0
#include "ScreenConnection.h"

#include <stdexcept>

#include <xcb/xtest.h>

namespace vello::session {

PrivateScreen::Connection::Connection(const std::string& display)
    : xcb_(xcb_connect(display.c_str(), nullptr)) {
    if (xcb_connection_has_error(xcb_) != 0) {
        xcb_disconnect(xcb_);
        throw std::runtime_error("no screen answers at " + display);
    }
    screen_ = xcb_setup_roots_iterator(xcb_get_setup(xcb_)).data;
    const std::uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_change_window_attributes(xcb_, root(), XCB_CW_EVENT_MASK, &events);
    synchronize();
}

PrivateScreen::Connection::~Connection() {
    xcb_disconnect(xcb_);
}

xcb_atom_t PrivateScreen::Connection::atom(const std::string& name) const {
    const auto cookie = xcb_intern_atom(xcb_, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    const XReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(xcb_, cookie, nullptr));
    return reply ? reply->atom : XCB_NONE;
}

bool PrivateScreen::Connection::isOwned(const std::string& selection) const {
    const auto cookie = xcb_get_selection_owner(xcb_, atom(selection));
    const XReply<xcb_get_selection_owner_reply_t> reply(xcb_get_selection_owner_reply(xcb_, cookie, nullptr));
    return reply && reply->owner != XCB_NONE;
}

std::string PrivateScreen::Connection::text(xcb_window_t window, const std::string& property) const {
    const auto cookie = xcb_get_property(xcb_, 0, window, atom(property), XCB_GET_PROPERTY_TYPE_ANY, 0, 1024);
    const XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(xcb_, cookie, nullptr));
    if (!reply || reply->format != 8)
        return {};
    const auto* const bytes = static_cast<const char*>(xcb_get_property_value(reply.get()));
    return {bytes, static_cast<std::size_t>(xcb_get_property_value_length(reply.get()))};
}

xcb_window_t PrivateScreen::Connection::windowIn(xcb_window_t window, const std::string& property) const {
    const auto cookie = xcb_get_property(xcb_, 0, window, atom(property), XCB_ATOM_WINDOW, 0, 1);
    const XReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(xcb_, cookie, nullptr));
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) == 0)
        return XCB_NONE;
    return *static_cast<const xcb_window_t*>(xcb_get_property_value(reply.get()));
}

std::vector<xcb_window_t> PrivateScreen::Connection::children(xcb_window_t window) const {
    const XReply<xcb_query_tree_reply_t> reply(
        xcb_query_tree_reply(xcb_, xcb_query_tree(xcb_, window), nullptr));
    if (!reply)
        return {};
    const auto* const first = xcb_query_tree_children(reply.get());
    return {first, first + xcb_query_tree_children_length(reply.get())};
}

void PrivateScreen::Connection::synchronize() const {
    const XReply<xcb_get_input_focus_reply_t> reply(
        xcb_get_input_focus_reply(xcb_, xcb_get_input_focus(xcb_), nullptr));
    if (!reply)
        throw std::runtime_error("the screen does not answer any more");
}

KeyStroke PrivateScreen::Connection::strokeOf(std::uint32_t keySymbol) const {
    const auto* const setup = xcb_get_setup(xcb_);
    const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
    const auto cookie = xcb_get_keyboard_mapping(xcb_, setup->min_keycode, count);
    const XReply<xcb_get_keyboard_mapping_reply_t> reply(
        xcb_get_keyboard_mapping_reply(xcb_, cookie, nullptr));
    const int columns = reply ? reply->keysyms_per_keycode : 0;
    const auto* const symbols = reply ? xcb_get_keyboard_mapping_keysyms(reply.get()) : nullptr;
    for (const int column : {0, 1})
        for (int key = 0; key < count && column < columns; ++key)
            if (symbols[key * columns + column] == keySymbol)
                return {static_cast<xcb_keycode_t>(setup->min_keycode + key), column == 1};
    throw std::runtime_error("no key has the symbol " + std::to_string(keySymbol));
}

void PrivateScreen::Connection::fake(std::uint8_t event, std::uint8_t detail, std::chrono::milliseconds delay,
                                     QPoint place) const {
    xcb_test_fake_input(xcb_, event, detail, static_cast<std::uint32_t>(delay.count()), XCB_NONE,
                        static_cast<std::int16_t>(place.x()), static_cast<std::int16_t>(place.y()), 0);
    synchronize();
}

} // namespace vello::session
