// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

struct xcb_connection_t;

namespace vello {

/// A transparent window under all others that covers the screen. On the X server of a Wayland compositor,
/// presses on the empty desktop are only reported while it is shown, because they are presses on an X program
/// then. It never takes the keyboard. Main thread only.
class X11Backdrop {
public:
    /// The window is destroyed with the connection. Without a visual with transparency nothing is shown.
    X11Backdrop(xcb_connection_t* connection, int screenNumber);

    void setShown(bool isShown);

private:
    xcb_connection_t* connection_;
    std::uint32_t window_ = 0; ///< 0 without a visual
};

} // namespace vello
