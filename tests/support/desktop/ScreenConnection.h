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
/// A reply of the X server; null when the request failed, for example because the window is gone.
template <class Reply> using XReply = std::unique_ptr<Reply, FreeReply>;

/// A key of the keyboard, and whether a symbol requires Shift with it.
struct KeyStroke {
    xcb_keycode_t code = 0;
    bool isShifted = false;
};

/// The test's own connection to its screen.
class PrivateScreen::Connection {
public:
    /// Throws std::runtime_error when the screen does not exist.
    explicit Connection(const std::string& display);
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    xcb_connection_t* xcb() const { return xcb_; }
    const xcb_screen_t& screen() const { return *screen_; }
    xcb_window_t root() const { return screen_->root; }
    xcb_atom_t atom(const std::string& name) const;
    /// Whether the selection has an owner, which shows that a desktop service runs.
    bool isOwned(const std::string& selection) const;
    std::string text(xcb_window_t window, const std::string& property) const;
    /// The first window in the property; XCB_NONE when there is none.
    xcb_window_t windowIn(xcb_window_t window, const std::string& property) const;
    std::vector<xcb_window_t> children(xcb_window_t window) const;
    /// Returns when the server has processed all requests.
    void synchronize() const;
    /// Throws std::runtime_error when no key has the symbol.
    KeyStroke strokeOf(std::uint32_t keySymbol) const;
    /// Makes the server simulate this device event (an X event code) after `delay`. Returns when it has
    /// happened.
    void fake(std::uint8_t event, std::uint8_t detail, std::chrono::milliseconds delay,
              QPoint place = {}) const;

private:
    xcb_connection_t* xcb_;
    const xcb_screen_t* screen_ = nullptr;
};

} // namespace vello::session
