// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "PrivateScreen.h"

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <xcb/xcb.h>

namespace vello::session {

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
/// An answer of the X server; null when it refused, for example because the window is gone.
template <class Reply> using XReply = std::unique_ptr<Reply, FreeReply>;

/// A key of the keyboard, and whether a symbol needs it together with Shift.
struct KeyStroke {
    xcb_keycode_t code = 0;
    bool isShifted = false;
};

/// The test's own connection to its screen.
class PrivateScreen::Connection {
public:
    /// Throws std::runtime_error when there is no such screen.
    explicit Connection(const std::string& display);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    xcb_connection_t* xcb() const { return xcb_; }
    const xcb_screen_t& screen() const { return *screen_; }
    xcb_window_t root() const { return screen_->root; }
    xcb_atom_t atom(const std::string& name) const;
    /// Whether some program owns the selection, which is how services of a desktop tell that they run.
    bool isOwned(const std::string& selection) const;
    std::string text(xcb_window_t window, const std::string& property) const;
    /// Of the first window in the property; XCB_NONE when there is none.
    xcb_window_t windowIn(xcb_window_t window, const std::string& property) const;
    std::vector<xcb_window_t> children(xcb_window_t window) const;
    /// Returns when the server has done all that was asked.
    void synchronize() const;
    /// Throws std::runtime_error when no key has the symbol.
    KeyStroke strokeOf(std::uint32_t keySymbol) const;
    /// Has the server act as if a device had sent this event (an X event code) in so much time from now.
    /// Returns when it has.
    void fake(std::uint8_t event, std::uint8_t detail, std::chrono::milliseconds delay,
              QPoint place = {}) const;

private:
    xcb_connection_t* xcb_;
    const xcb_screen_t* screen_ = nullptr;
};

} // namespace vello::session
