// SPDX-License-Identifier: Apache-2.0
#include "UI/Appearance/XSettingsWatch.h"

#include <QGuiApplication>
#include <QSocketNotifier>

#include <array>
#include <cstdlib>
#include <string>
#include <utility>
#include <xcb/xcb.h>

namespace vello {
namespace {

constexpr std::uint32_t kMostWords = 64 * 1024; ///< of 32 bits, of the property

struct FreeReply {
    void operator()(void* reply) const { std::free(reply); }
};
template <typename Reply> using OwnReply = std::unique_ptr<Reply, FreeReply>;

xcb_atom_t atomNamed(xcb_connection_t* connection, const std::string& name) {
    const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.c_str());
    const OwnReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

} // namespace

/// A connection of our own, because the toolkit selects other events of the same windows.
struct XSettingsWatch::Connection {
    Connection() : xcb(xcb_connect(nullptr, &screenNumber)) {}
    ~Connection() {
        notifier.reset();
        xcb_disconnect(xcb);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    bool prepare() {
        if (xcb_connection_has_error(xcb) != 0)
            return false;
        auto screens = xcb_setup_roots_iterator(xcb_get_setup(xcb));
        for (int number = 0; number < screenNumber && screens.rem > 0; ++number)
            xcb_screen_next(&screens);
        if (screens.rem == 0)
            return false;
        selection = atomNamed(xcb, "_XSETTINGS_S" + std::to_string(screenNumber));
        property = atomNamed(xcb, "_XSETTINGS_SETTINGS");
        manager = atomNamed(xcb, "MANAGER");
        // New managers announce themselves to the root window.
        select(screens.data->root, XCB_EVENT_MASK_STRUCTURE_NOTIFY);
        return true;
    }
    void select(xcb_window_t window, std::uint32_t events) const {
        xcb_change_window_attributes(xcb, window, XCB_CW_EVENT_MASK, &events);
    }
    /// Finds the manager's window and selects its events, while no other manager can take its place.
    void findOwner() {
        xcb_grab_server(xcb);
        const OwnReply<xcb_get_selection_owner_reply_t> reply(
            xcb_get_selection_owner_reply(xcb, xcb_get_selection_owner(xcb, selection), nullptr));
        owner = reply ? reply->owner : xcb_window_t{XCB_WINDOW_NONE};
        if (owner != XCB_WINDOW_NONE)
            select(owner, XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE);
        xcb_ungrab_server(xcb);
        xcb_flush(xcb);
    }
    QByteArray content() const {
        if (owner == XCB_WINDOW_NONE)
            return {};
        const auto cookie = xcb_get_property(xcb, 0, owner, property, property, 0, kMostWords);
        const OwnReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(xcb, cookie, nullptr));
        if (!reply || reply->format != 8)
            return {};
        return {static_cast<const char*>(xcb_get_property_value(reply.get())),
                xcb_get_property_value_length(reply.get())};
    }
    /// Whether the settings may have changed.
    bool concerns(const xcb_generic_event_t& event) const {
        switch (event.response_type & 0x7f) {
        case XCB_CLIENT_MESSAGE: {
            const auto& message = reinterpret_cast<const xcb_client_message_event_t&>(event);
            return message.type == manager && message.data.data32[1] == selection;
        }
        case XCB_PROPERTY_NOTIFY:
            return reinterpret_cast<const xcb_property_notify_event_t&>(event).atom == property;
        case XCB_DESTROY_NOTIFY:
            return reinterpret_cast<const xcb_destroy_notify_event_t&>(event).window == owner;
        default:
            return false;
        }
    }

    int screenNumber = 0;
    xcb_connection_t* xcb;
    xcb_atom_t selection = XCB_ATOM_NONE;
    xcb_atom_t property = XCB_ATOM_NONE;
    xcb_atom_t manager = XCB_ATOM_NONE;
    xcb_window_t owner = XCB_WINDOW_NONE;
    std::unique_ptr<QSocketNotifier> notifier;
};

std::unique_ptr<XSettingsWatch> XSettingsWatch::ofToolkit() {
    if (QGuiApplication::platformName() != QLatin1String("xcb"))
        return nullptr;
    auto connection = std::make_unique<Connection>();
    if (!connection->prepare())
        return nullptr;
    return std::unique_ptr<XSettingsWatch>(new XSettingsWatch(std::move(connection)));
}

XSettingsWatch::XSettingsWatch(std::unique_ptr<Connection> connection) : connection_(std::move(connection)) {
    connection_->notifier =
        std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection_->xcb), QSocketNotifier::Read);
    connect(connection_->notifier.get(), &QSocketNotifier::activated, this, &XSettingsWatch::takeEvents);
    read();
}

XSettingsWatch::~XSettingsWatch() = default;

void XSettingsWatch::takeEvents() {
    bool isConcerned = false;
    while (const OwnReply<xcb_generic_event_t> event{xcb_poll_for_event(connection_->xcb)})
        isConcerned = connection_->concerns(*event) || isConcerned;
    if (xcb_connection_has_error(connection_->xcb) != 0)
        connection_->notifier->setEnabled(false); // the screen is gone; the toolkit ends the application
    else if (isConcerned)
        read();
}

void XSettingsWatch::read() {
    connection_->findOwner();
    XSettings found = readXSettings(connection_->content());
    if (found != settings_) {
        settings_ = std::move(found);
        emit changed();
    }
    // Replies may have brought events, of which the socket does not tell.
    QMetaObject::invokeMethod(this, &XSettingsWatch::takeEvents, Qt::QueuedConnection);
}

} // namespace vello
