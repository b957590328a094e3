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

/// A call or its answer. What an answer holds is read from front to back; reading what is not there throws
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
    /// Goes into the container that comes next, as sd_bus_message_enter_container.
    void enter(char type, const char* contents);
    void leave();
    /// Whether the container, or the message, has been read to its end.
    bool isAtEnd() const;

    sd_bus_message* message() const { return message_.get(); }

private:
    template <class Value> Value read(char type);

    struct Release {
        void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
    };
    std::unique_ptr<sd_bus_message, Release> message_;
};

/// A client of a bus that waits for every answer, for up to five seconds. Errors and missing answers are
/// thrown as std::runtime_error. One thread only.
class BusClient {
public:
    explicit BusClient(const std::string& address);

    /// `types` and `arguments` are as sd_bus_message_append takes them.
    template <class... Arguments>
    BusMessage call(const BusObject& object, const std::string& interface, const std::string& member,
                    const char* types = "", Arguments... arguments) const {
        const BusMessage call = make(object, interface, member);
        if (sizeof...(arguments) > 0)
            check(sd_bus_message_append(call.message(), types, arguments...), member);
        return send(call, member);
    }
    /// `type` is the property's.
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
