// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/SystemdUserServices.h"

#include <systemd/sd-bus.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <stdexcept>

namespace vello {
namespace {

constexpr const char* kService = "org.freedesktop.systemd1";
constexpr const char* kPath = "/org/freedesktop/systemd1";
constexpr const char* kManager = "org.freedesktop.systemd1.Manager";
constexpr const char* kUnit = "org.freedesktop.systemd1.Unit";
constexpr std::uint64_t kPatience = 2'000'000; // microseconds

struct Unref {
    void operator()(sd_bus* bus) const { ::sd_bus_flush_close_unref(bus); }
    void operator()(sd_bus_message* message) const { ::sd_bus_message_unref(message); }
};
using Bus = std::unique_ptr<sd_bus, Unref>;
using Message = std::unique_ptr<sd_bus_message, Unref>;

/// The reason of a failed call, for whoever holds the object.
class CallError {
public:
    CallError() = default;
    ~CallError() { ::sd_bus_error_free(&error_); }
    CallError(const CallError&) = delete;
    CallError& operator=(const CallError&) = delete;

    sd_bus_error* place() { return &error_; }
    std::string text() const { return error_.message != nullptr ? error_.message : "no answer"; }

private:
    sd_bus_error error_ = SD_BUS_ERROR_NULL;
};

/// Empty when there is no session bus.
Bus openBus() {
    sd_bus* bus = nullptr;
    if (::sd_bus_open_user(&bus) < 0)
        return nullptr;
    ::sd_bus_set_method_call_timeout(bus, kPatience);
    return Bus(bus);
}

/// Empty on failure.
Message newCall(const Bus& bus, const char* method) {
    sd_bus_message* message = nullptr;
    if (!bus || ::sd_bus_message_new_method_call(bus.get(), &message, kService, kPath, kManager, method) < 0)
        return nullptr;
    ::sd_bus_message_set_auto_start(message, 0); // where systemd does not run, nothing else stands for it
    return Message(message);
}

/// The answer to a call with the name of a unit; empty on failure.
Message ask(const Bus& bus, const char* method, const std::string& unit) {
    const Message call = newCall(bus, method);
    if (!call || ::sd_bus_message_append(call.get(), "s", unit.c_str()) < 0)
        return nullptr;
    sd_bus_message* answer = nullptr;
    ::sd_bus_call(bus.get(), call.get(), kPatience, nullptr, &answer);
    return Message(answer);
}

/// Reads one string or object path.
std::string textOf(const Message& answer, char type) {
    const char* text = nullptr;
    if (!answer || ::sd_bus_message_read_basic(answer.get(), type, static_cast<void*>(&text)) < 0)
        return "";
    return text;
}

/// What is written on disk holds from the next start of the manager. One that outlives the session has to
/// read it now; nobody waits for that.
void makeManagerReadUnits(const Bus& bus) {
    const Message call = newCall(bus, "Reload");
    if (call && ::sd_bus_message_set_expect_reply(call.get(), 0) >= 0)
        ::sd_bus_send(bus.get(), call.get(), nullptr);
}

/// `flags`: the method's booleans after the list of units.
void change(const char* method, const std::string& unit, std::initializer_list<bool> flags) {
    const Bus bus = openBus();
    const Message call = newCall(bus, method);
    bool isComplete = call && ::sd_bus_message_append(call.get(), "as", 1, unit.c_str()) >= 0;
    for (const int flag : flags)
        isComplete = isComplete && ::sd_bus_message_append_basic(call.get(), 'b', &flag) >= 0;
    if (!isComplete)
        throw std::runtime_error("the session's service manager cannot be reached");
    CallError error;
    if (::sd_bus_call(bus.get(), call.get(), kPatience, error.place(), nullptr) < 0)
        throw std::runtime_error("the session's service manager does not change " + unit + ": " +
                                 error.text());
    makeManagerReadUnits(bus);
}

} // namespace

bool SystemdUserServices::isActive(const std::string& unit) {
    const Bus bus = openBus();
    const std::string path = textOf(ask(bus, "GetUnit", unit), 'o');
    char* state = nullptr;
    if (path.empty() || ::sd_bus_get_property_string(bus.get(), kService, path.c_str(), kUnit, "ActiveState",
                                                     nullptr, &state) < 0)
        return false;
    const bool isActive = std::strcmp(state, "active") == 0;
    std::free(state);
    return isActive;
}

std::string SystemdUserServices::fileState(const std::string& unit) {
    return textOf(ask(openBus(), "GetUnitFileState", unit), 's');
}

void SystemdUserServices::enable(const std::string& unit) {
    change("EnableUnitFiles", unit, {false, true}); // for good; by force, as to aliases
}

void SystemdUserServices::disable(const std::string& unit) {
    change("DisableUnitFiles", unit, {false});
}

} // namespace vello
