// SPDX-License-Identifier: Apache-2.0
#include "BusClient.h"

#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace vello::session {
namespace {

constexpr std::uint64_t kPatience = 5'000'000; // microseconds

/// An error reply of a bus; freed with the object.
struct Error {
    Error() = default;
    ~Error() { sd_bus_error_free(&error); }
    Error(const Error&) = delete;
    Error& operator=(const Error&) = delete;

    sd_bus_error error = SD_BUS_ERROR_NULL;
};

[[noreturn]] void fail(const std::string& what, int result, const sd_bus_error& error) {
    const char* const reason = error.message != nullptr ? error.message : std::strerror(-result);
    throw std::runtime_error(std::string(what).append(": ").append(reason));
}

} // namespace

template <class Value> Value BusMessage::read(char type) {
    Value value{};
    if (sd_bus_message_read_basic(message_.get(), type, &value) <= 0)
        throw std::runtime_error(std::string("the answer has no value of type ") + type);
    return value;
}

std::string BusMessage::text() {
    return read<const char*>('s');
}

BusObject BusMessage::object() {
    enter('r', "so");
    BusObject result;
    result.service = read<const char*>('s');
    result.path = read<const char*>('o');
    leave();
    return result;
}

int BusMessage::integer() {
    return read<std::int32_t>('i');
}

unsigned BusMessage::bits() {
    return read<std::uint32_t>('u');
}

double BusMessage::number() {
    return read<double>('d');
}

bool BusMessage::flag() {
    return read<int>('b') != 0;
}

void BusMessage::enter(char type, const char* contents) {
    if (sd_bus_message_enter_container(message_.get(), type, contents) <= 0)
        throw std::runtime_error(std::string("the answer has no container of ") + contents);
}

void BusMessage::leave() {
    sd_bus_message_exit_container(message_.get());
}

bool BusMessage::isAtEnd() const {
    return sd_bus_message_at_end(message_.get(), 0) > 0;
}

BusClient::BusClient(const std::string& address) {
    sd_bus* bus = nullptr;
    check(sd_bus_new(&bus), "make a client of a bus");
    bus_.reset(bus);
    check(sd_bus_set_address(bus, address.c_str()), address);
    check(sd_bus_set_bus_client(bus, 1), address);
    check(sd_bus_start(bus), address);
    check(sd_bus_set_method_call_timeout(bus, kPatience), address);
}

BusMessage BusClient::property(const BusObject& object, const std::string& interface, const std::string& name,
                               const char* type) const {
    Error error;
    sd_bus_message* answer = nullptr;
    const int result = sd_bus_get_property(bus_.get(), object.service.c_str(), object.path.c_str(),
                                           interface.c_str(), name.c_str(), &error.error, &answer, type);
    if (result < 0)
        fail(name, result, error.error);
    return BusMessage(answer);
}

bool BusClient::hasOwner(const std::string& name) const {
    return call({"org.freedesktop.DBus", "/org/freedesktop/DBus"}, "org.freedesktop.DBus", "NameHasOwner",
                "s", name.c_str())
        .flag();
}

void BusClient::check(int result, const std::string& what) {
    if (result < 0)
        fail(what, result, SD_BUS_ERROR_NULL);
}

BusMessage BusClient::make(const BusObject& object, const std::string& interface,
                           const std::string& member) const {
    sd_bus_message* message = nullptr;
    check(sd_bus_message_new_method_call(bus_.get(), &message, object.service.c_str(), object.path.c_str(),
                                         interface.c_str(), member.c_str()),
          member);
    return BusMessage(message);
}

BusMessage BusClient::send(const BusMessage& call, const std::string& member) const {
    Error error;
    sd_bus_message* answer = nullptr;
    const int result = sd_bus_call(bus_.get(), call.message(), kPatience, &error.error, &answer);
    if (result < 0)
        fail(member, result, error.error);
    return BusMessage(answer);
}

} // namespace vello::session
