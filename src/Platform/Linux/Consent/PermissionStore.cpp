// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Consent/PermissionStore.h"

#include "Foundation/Product.h"

#include <systemd/sd-bus.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace vello {
namespace {

using std::chrono::microseconds;
using std::chrono::seconds;

constexpr char kService[] = "org.freedesktop.impl.portal.PermissionStore";
constexpr char kPath[] = "/org/freedesktop/impl/portal/PermissionStore";
constexpr char kTable[] = "vello";
constexpr char kId[] = "capture";
constexpr char kYes[] = "yes";
constexpr char kNo[] = "no";
constexpr seconds kLongestWait{5};

struct MessageCloser {
    void operator()(sd_bus_message* message) const { ::sd_bus_message_unref(message); }
};
using Message = std::unique_ptr<sd_bus_message, MessageCloser>;

struct Error {
    sd_bus_error value = SD_BUS_ERROR_NULL;
    ~Error() { ::sd_bus_error_free(&value); }
};

[[noreturn]] void fail(std::string_view reason) {
    throw std::runtime_error(std::string("the desktop's permission store does not answer (")
                                 .append(reason)
                                 .append("); try again, or log out and in"));
}

/// The bus said so, or could not start the service.
bool saysNobodyOffersIt(const sd_bus_error& error) {
    constexpr std::array<std::string_view, 3> names{
        SD_BUS_ERROR_SERVICE_UNKNOWN, SD_BUS_ERROR_NAME_HAS_NO_OWNER, SD_BUS_ERROR_UNKNOWN_METHOD};
    const std::string_view name = error.name == nullptr ? "" : error.name;
    return std::ranges::find(names, name) != names.end() ||
           name.starts_with("org.freedesktop.DBus.Error.Spawn.");
}

bool saysThereIsNoEntry(const sd_bus_error& error) {
    return ::sd_bus_error_has_name(&error, "org.freedesktop.portal.Error.NotFound") > 0;
}

/// The permissions of one application: exactly one word, and one of ours, is an answer.
Consent readPermissions(sd_bus_message* message) {
    std::vector<std::string> words;
    const char* word = nullptr;
    if (::sd_bus_message_enter_container(message, 'a', "s") < 0)
        return Consent::undecided;
    while (::sd_bus_message_read(message, "s", &word) > 0)
        words.emplace_back(word);
    ::sd_bus_message_exit_container(message);
    if (words == std::vector<std::string>{kYes})
        return Consent::allowed;
    return words == std::vector<std::string>{kNo} ? Consent::denied : Consent::undecided;
}

/// Of the reply to Lookup: permissions by application, and a value that is not ours.
Consent readReply(sd_bus_message* reply) {
    Consent consent = Consent::undecided;
    if (::sd_bus_message_enter_container(reply, 'a', "{sas}") < 0)
        return consent;
    while (::sd_bus_message_enter_container(reply, 'e', "sas") > 0) {
        const char* application = nullptr;
        if (::sd_bus_message_read(reply, "s", &application) < 0)
            return Consent::undecided;
        const Consent permission = readPermissions(reply);
        if (std::string_view(application) == kBundleIdentifier)
            consent = permission;
        ::sd_bus_message_exit_container(reply);
    }
    return consent;
}

/// As a value of a D-Bus address.
std::string escapedForAddress(std::string_view path) {
    std::string escaped;
    for (const char character : path) {
        char code[4];
        std::snprintf(code, sizeof code, "%%%02x",
                      static_cast<unsigned>(static_cast<unsigned char>(character)));
        const bool isPlain = std::isalnum(static_cast<unsigned char>(character)) != 0 ||
                             std::string_view("-_/.\\").find(character) != std::string_view::npos;
        escaped += isPlain ? std::string(1, character) : code;
    }
    return escaped;
}

} // namespace

/// What the bus calls back.
struct PermissionStore::Callbacks {
    static int answered(sd_bus_message* reply, void* data, sd_bus_error*) {
        const auto& self = *static_cast<PermissionStore*>(data);
        const sd_bus_error* error = ::sd_bus_message_get_error(reply);
        if (error == nullptr)
            self.onAnswer_(readReply(reply));
        else if (saysThereIsNoEntry(*error))
            self.onAnswer_(Consent::undecided);
        else if (saysNobodyOffersIt(*error))
            self.onAnswer_(std::nullopt);
        return 0;
    }
    /// The entry changed.
    static int changed(sd_bus_message*, void* data, sd_bus_error*) {
        static_cast<PermissionStore*>(data)->askForAnswer();
        return 0;
    }
    /// The service has come, gone or changed hands.
    static int ownerChanged(sd_bus_message* message, void* data, sd_bus_error*) {
        const char* name = nullptr;
        const char* before = nullptr;
        const char* now = nullptr;
        if (::sd_bus_message_read(message, "sss", &name, &before, &now) >= 0 && *now != '\0')
            static_cast<PermissionStore*>(data)->askForAnswer();
        return 0;
    }
};

void PermissionStore::Closer::operator()(sd_bus* bus) const {
    ::sd_bus_close(bus);
    ::sd_bus_unref(bus);
}

std::unique_ptr<PermissionStore> PermissionStore::connect(const std::string& address) {
    sd_bus* bus = nullptr;
    if (address.empty() || ::sd_bus_new(&bus) < 0)
        return nullptr;
    std::unique_ptr<PermissionStore> store(new PermissionStore(bus));
    if (::sd_bus_set_address(bus, address.c_str()) < 0 || ::sd_bus_set_bus_client(bus, 1) < 0 ||
        ::sd_bus_set_method_call_timeout(bus, microseconds(kLongestWait).count()) < 0 ||
        ::sd_bus_start(bus) < 0)
        return nullptr;
    return store;
}

PermissionStore::~PermissionStore() = default;

void PermissionStore::follow(OnAnswer onAnswer) {
    onAnswer_ = std::move(onAnswer);
    const std::string entry = std::string("type='signal',sender='")
                                  .append(kService)
                                  .append("',interface='")
                                  .append(kService)
                                  .append("',member='Changed',arg0='")
                                  .append(kTable)
                                  .append("',arg1='")
                                  .append(kId)
                                  .append("'");
    const std::string owner = std::string("type='signal',sender='org.freedesktop.DBus',interface="
                                          "'org.freedesktop.DBus',member='NameOwnerChanged',arg0='")
                                  .append(kService)
                                  .append("'");
    ::sd_bus_add_match_async(bus_.get(), nullptr, entry.c_str(), Callbacks::changed, nullptr, this);
    ::sd_bus_add_match_async(bus_.get(), nullptr, owner.c_str(), Callbacks::ownerChanged, nullptr, this);
    askForAnswer();
}

void PermissionStore::askForAnswer() {
    ::sd_bus_call_method_async(bus_.get(), nullptr, kService, kPath, kService, "Lookup", Callbacks::answered,
                               this, "ss", kTable, kId);
}

bool PermissionStore::process() {
    int result = 0;
    while ((result = ::sd_bus_process(bus_.get(), nullptr)) > 0) {
    }
    return result == 0;
}

int PermissionStore::descriptor() const {
    return ::sd_bus_get_fd(bus_.get());
}

short PermissionStore::events() const {
    const int events = ::sd_bus_get_events(bus_.get());
    return static_cast<short>(events < 0 ? POLLIN : events);
}

std::optional<PermissionStore::Clock::time_point> PermissionStore::deadline() const {
    std::uint64_t time = UINT64_MAX; // on the monotonic clock
    if (::sd_bus_get_timeout(bus_.get(), &time) < 0 || time == UINT64_MAX)
        return std::nullopt;
    return Clock::time_point(microseconds(time));
}

/// A bus that accepts a connection and then says nothing would keep a call waiting for more than a minute.
void PermissionStore::waitUntilConnected() {
    const auto giveUp = Clock::now() + kLongestWait;
    while (::sd_bus_is_ready(bus_.get()) == 0) {
        const auto rest = std::chrono::duration_cast<microseconds>(giveUp - Clock::now());
        if (!process())
            fail("the connection was lost");
        if (rest.count() <= 0)
            fail("the session bus is silent");
        if (::sd_bus_is_ready(bus_.get()) == 0)
            ::sd_bus_wait(bus_.get(), static_cast<std::uint64_t>(rest.count()));
    }
}

PermissionStore::Answer PermissionStore::lookUp() {
    waitUntilConnected();
    Error error;
    sd_bus_message* message = nullptr;
    const int result = ::sd_bus_call_method(bus_.get(), kService, kPath, kService, "Lookup", &error.value,
                                            &message, "ss", kTable, kId);
    const Message reply(message);
    if (result >= 0)
        return readReply(message);
    if (saysThereIsNoEntry(error.value))
        return Consent::undecided;
    if (saysNobodyOffersIt(error.value))
        return std::nullopt;
    fail(error.value.message == nullptr ? std::strerror(-result) : error.value.message);
}

bool PermissionStore::store(Consent answer) {
    waitUntilConnected();
    Error error;
    const int result = ::sd_bus_call_method(bus_.get(), kService, kPath, kService, "SetPermission",
                                            &error.value, nullptr, "sbssas", kTable, 1, kId,
                                            kBundleIdentifier, 1, answer == Consent::allowed ? kYes : kNo);
    if (result >= 0)
        return true;
    if (saysNobodyOffersIt(error.value))
        return false;
    fail(error.value.message == nullptr ? std::strerror(-result) : error.value.message);
}

std::string sessionBusAddress(const Environment& environment) {
    const char* address = environment("DBUS_SESSION_BUS_ADDRESS");
    if (address != nullptr && *address != '\0')
        return address;
    const auto folder = runtimeFolder(environment);
    std::error_code error;
    if (!folder || !std::filesystem::is_socket(*folder / "bus", error))
        return {};
    return std::string("unix:path=").append(escapedForAddress((*folder / "bus").string()));
}

} // namespace vello
