// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <xcb/xcb.h>

namespace vello {

struct FreeX11Reply {
    void operator()(void* reply) const { std::free(reply); }
};
/// A reply or an event of the X server; null when the request failed.
template <typename Reply> using Owned = std::unique_ptr<Reply, FreeX11Reply>;

/// Waits for the server's number of the name; null when the connection is lost.
inline Owned<xcb_intern_atom_reply_t> atom(xcb_connection_t* connection, const std::string& name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    return Owned<xcb_intern_atom_reply_t>(xcb_intern_atom_reply(connection, cookie, nullptr));
}

} // namespace vello
