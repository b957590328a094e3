// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>

struct wl_keyboard;
struct wl_seat;
struct wl_surface;

namespace vello {

/// Reports when the keyboard leaves a surface of this program. Qt does not report that the keyboard left when
/// it comes back at once. Main thread only.
class WaylandKeyboard {
public:
    /// `seat` is Qt's and must have a keyboard; its events are dispatched by Qt's event loop.
    /// `onLeft` runs each time the keyboard leaves a surface.
    WaylandKeyboard(wl_seat* seat, std::function<void(const wl_surface*)> onLeft);
    ~WaylandKeyboard();
    WaylandKeyboard(const WaylandKeyboard&) = delete;
    WaylandKeyboard& operator=(const WaylandKeyboard&) = delete;

private:
    static void leave(void* self, wl_keyboard* keyboard, std::uint32_t serial, wl_surface* surface);

    wl_keyboard* keyboard_;
    std::function<void(const wl_surface*)> onLeft_;
};

} // namespace vello
