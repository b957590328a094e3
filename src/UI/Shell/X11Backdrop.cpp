// SPDX-License-Identifier: Apache-2.0
#include "X11Backdrop.h"

#include "X11Replies.h"

#include <array>
#include <xcb/xcb.h>

namespace vello {
namespace {

constexpr std::uint8_t kDepthWithTransparency = 32;
/// The hints of a window for its window manager, as ICCCM lays them out: this one never takes the keyboard.
constexpr std::array<std::uint32_t, 9> kNeverTakesKeyboard{1, 0};

const xcb_screen_t* screenOf(xcb_connection_t* connection, int number) {
    auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
    while (number-- > 0 && screens.rem > 0)
        xcb_screen_next(&screens);
    return screens.rem > 0 ? screens.data : nullptr;
}

xcb_visualid_t visualWithTransparency(const xcb_screen_t& screen) {
    for (auto depths = xcb_screen_allowed_depths_iterator(&screen); depths.rem > 0; xcb_depth_next(&depths))
        if (depths.data->depth == kDepthWithTransparency && depths.data->visuals_len > 0)
            return xcb_depth_visuals(depths.data)->visual_id;
    return XCB_NONE;
}

} // namespace

X11Backdrop::X11Backdrop(xcb_connection_t* connection, int screenNumber) : connection_(connection) {
    const xcb_screen_t* const screen = screenOf(connection, screenNumber);
    const xcb_visualid_t visual = screen ? visualWithTransparency(*screen) : XCB_NONE;
    if (visual == XCB_NONE)
        return;
    const xcb_colormap_t colours = xcb_generate_id(connection_);
    xcb_create_colormap(connection_, XCB_COLORMAP_ALLOC_NONE, colours, screen->root, visual);
    window_ = xcb_generate_id(connection_);
    const std::array<std::uint32_t, 3> values{0, 0, colours}; // a transparent background and border
    xcb_create_window(connection_, kDepthWithTransparency, window_, screen->root, 0, 0,
                      screen->width_in_pixels, screen->height_in_pixels, 0, XCB_WINDOW_CLASS_INPUT_OUTPUT,
                      visual, XCB_CW_BACK_PIXEL | XCB_CW_BORDER_PIXEL | XCB_CW_COLORMAP, values.data());
    const auto type = atom(connection_, "_NET_WM_WINDOW_TYPE");
    const auto desktop = atom(connection_, "_NET_WM_WINDOW_TYPE_DESKTOP");
    if (type && desktop)
        xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, type->atom, XCB_ATOM_ATOM, 32, 1,
                            &desktop->atom);
    xcb_change_property(connection_, XCB_PROP_MODE_REPLACE, window_, XCB_ATOM_WM_HINTS, XCB_ATOM_WM_HINTS, 32,
                        kNeverTakesKeyboard.size(), kNeverTakesKeyboard.data());
}

void X11Backdrop::setShown(bool isShown) {
    if (window_ == 0)
        return;
    if (isShown)
        xcb_map_window(connection_, window_);
    else
        xcb_unmap_window(connection_, window_);
    xcb_flush(connection_);
}

} // namespace vello
