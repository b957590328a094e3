// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/System/UserFolders.h"
#include "Ports/ConsentStore.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>

struct sd_bus;

namespace vello {

/// The desktop's permission store, a service on the user's session bus, and VELLO's entry in it: table
/// "vello", id "capture", the application com.quorvin.Vello with "yes" or "no".
///
/// One thread.
class PermissionStore {
public:
    using Clock = std::chrono::steady_clock;

    /// Nothing: nobody offers a permission store on this bus.
    using Answer = std::optional<Consent>;
    using OnAnswer = std::function<void(Answer answer)>;

    /// Connects to the bus at `address` without waiting for it. Absent when nobody listens there.
    static std::unique_ptr<PermissionStore> connect(const std::string& address);
    ~PermissionStore();
    PermissionStore(const PermissionStore&) = delete;
    PermissionStore& operator=(const PermissionStore&) = delete;

    /// Asks for the answer, and again whenever it may have changed; `onAnswer` runs inside process(). An
    /// answer that does not come is none: `onAnswer` does not run for it.
    void follow(OnAnswer onAnswer);
    /// Does what has come in. False when the connection is lost.
    bool process();
    /// To be polled for events(), at most until deadline().
    int descriptor() const;
    short events() const;
    std::optional<Clock::time_point> deadline() const;

    /// Waits for the answer. Throws std::runtime_error with a sentence when none comes in time.
    Answer lookUp();
    /// Waits until the answer is stored. False: nobody offers a permission store. Throws as lookUp() does.
    bool store(Consent answer);

private:
    struct Callbacks;
    struct Closer {
        void operator()(sd_bus* bus) const;
    };

    explicit PermissionStore(sd_bus* bus) : bus_(bus) {}
    void waitUntilConnected();
    void askForAnswer();

    // The slots of pending calls and matches live and die with the connection.
    std::unique_ptr<sd_bus, Closer> bus_;
    OnAnswer onAnswer_;
};

/// Address of the user's session bus: $DBUS_SESSION_BUS_ADDRESS, else the socket "bus" in $XDG_RUNTIME_DIR
/// when there is one; else empty.
std::string sessionBusAddress(const Environment& environment);

} // namespace vello
