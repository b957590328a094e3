// SPDX-License-Identifier: Apache-2.0
#include "WaylandKeyboard.h"

#include <unistd.h>
#include <utility>
#include <wayland-client.h>

namespace vello {
namespace {

void closeKeymap(void*, wl_keyboard*, std::uint32_t, std::int32_t descriptor, std::uint32_t) {
    ::close(descriptor);
}

void ignoreEnter(void*, wl_keyboard*, std::uint32_t, wl_surface*, wl_array*) {}

void ignoreKey(void*, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t) {}

void ignoreModifiers(void*, wl_keyboard*, std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t,
                     std::uint32_t) {}

void ignoreRepetition(void*, wl_keyboard*, std::int32_t, std::int32_t) {}

} // namespace

WaylandKeyboard::WaylandKeyboard(wl_seat* seat, std::function<void(const wl_surface*)> onLeft)
    : keyboard_(wl_seat_get_keyboard(seat)), onLeft_(std::move(onLeft)) {
    static constexpr wl_keyboard_listener listener{closeKeymap, ignoreEnter,     leave,
                                                   ignoreKey,   ignoreModifiers, ignoreRepetition};
    wl_keyboard_add_listener(keyboard_, &listener, this);
}

WaylandKeyboard::~WaylandKeyboard() {
    if (wl_keyboard_get_version(keyboard_) >= WL_KEYBOARD_RELEASE_SINCE_VERSION)
        wl_keyboard_release(keyboard_);
    else
        wl_keyboard_destroy(keyboard_);
}

void WaylandKeyboard::leave(void* self, wl_keyboard*, std::uint32_t, wl_surface* surface) {
    static_cast<WaylandKeyboard*>(self)->onLeft_(surface);
}

} // namespace vello
