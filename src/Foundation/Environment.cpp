// SPDX-License-Identifier: Apache-2.0
#include "Foundation/Environment.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string_view>

namespace vello {
namespace {

/// As a value in a D-Bus address: any character but these stands there as its code.
std::string escapedForAddress(std::string_view path) {
    std::string escaped;
    for (const char character : path) {
        const auto byte = static_cast<unsigned char>(character);
        char code[4];
        std::snprintf(code, sizeof code, "%%%02x", unsigned{byte});
        const bool isPlain =
            std::isalnum(byte) != 0 || std::string_view("-_/.\\").find(character) != std::string_view::npos;
        escaped += isPlain ? std::string(1, character) : code;
    }
    return escaped;
}

} // namespace

Environment processEnvironment() {
    return [](const char* name) { return std::getenv(name); };
}

std::string sessionBusAddress(const Environment& environment) {
    const char* address = environment("DBUS_SESSION_BUS_ADDRESS");
    if (address != nullptr && *address != '\0')
        return address;
    const char* folder = environment("XDG_RUNTIME_DIR");
    const std::filesystem::path socket = std::filesystem::path(folder == nullptr ? "" : folder) / "bus";
    std::error_code error;
    if (!socket.is_absolute() || !std::filesystem::is_socket(socket, error))
        return {};
    return std::string("unix:path=").append(escapedForAddress(socket.string()));
}

} // namespace vello
