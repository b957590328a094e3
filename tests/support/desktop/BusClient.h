// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include <systemd/sd-bus.h>

namespace vello::session {

/// An object of a program on a bus.
struct BusObject {
    std::string service = {};
    std::string path = {};
};

/// A call or its reply. Values are read in order; reading a value that is not there throws
/// std::runtime_error.
class BusMessage {
public:
    explicit BusMessage(sd_bus_message* message) : message_(message) {}

    std::string text(); ///< of type s
    BusObject object(); ///< of type (so)
    int integer();      ///< of type i
    unsigned bits();    ///< of type u
    double number();    ///< of type d
    bool flag();        ///< of type b
    /// Enters the next container, like sd_bus_message_enter_container.
    void enter(char type, const char* contents);
    void leave();
    /// Whether the container, or the message, has been read completely.
    bool isAtEnd() const;

    sd_bus_message* message() const { return message_.get(); }

private:
    template <class Value> Value read(char type);

    struct Release {
        void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
    };
    std::unique_ptr<sd_bus_message, Release> message_;
};

/// A bus client that waits for every reply, for up to five seconds. Errors and timeouts are thrown as
/// std::runtime_error. One thread only.
class BusClient {
public:
    explicit BusClient(const std::string& address);

    /// `types` and `arguments` are those of sd_bus_message_append.
    template <class... Arguments>
    BusMessage call(const BusObject& object, const std::string& interface, const std::string& member,
                    const char* types = "", Arguments... arguments) const {
        const BusMessage call = make(object, interface, member);
        if (sizeof...(arguments) > 0)
            check(sd_bus_message_append(call.message(), types, arguments...), member);
        return send(call, member);
    }
    /// `type` is the type of the property.
    BusMessage property(const BusObject& object, const std::string& interface, const std::string& name,
                        const char* type) const;
    bool hasOwner(const std::string& name) const;

private:
    static void check(int result, const std::string& what);
    BusMessage make(const BusObject& object, const std::string& interface, const std::string& member) const;
    BusMessage send(const BusMessage& call, const std::string& member) const;

    struct Close {
        void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
    };
    std::unique_ptr<sd_bus, Close> bus_;
};

} // namespace vello::session
