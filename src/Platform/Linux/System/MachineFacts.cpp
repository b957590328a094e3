// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/MachineFacts.h"

#include "Foundation/Descriptor.h"
#include "Foundation/Files.h"
#include "Platform/Linux/System/ProcessFacts.h"

#include <algorithm>
#include <cstring>
#include <sstream>

#include <sys/socket.h>
#include <sys/statvfs.h>
#include <sys/un.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace vello {
namespace {

namespace files = std::filesystem;
constexpr std::size_t kLargestRelease = 1 << 16;
constexpr char kPulseAudio[] = "pulseaudio";

files::path nearestExisting(files::path folder) {
    std::error_code error;
    while (!folder.empty() && folder != folder.root_path() && !files::exists(folder, error))
        folder = folder.parent_path();
    return folder;
}

/// The process that listens on a socket; 0 when none does.
std::int32_t listener(const files::path& socket) {
    const Descriptor client(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string name = socket.string();
    if (!client.isOpen() || name.size() >= sizeof address.sun_path)
        return 0;
    std::memcpy(address.sun_path, name.data(), name.size());
    ucred credentials{};
    socklen_t length = sizeof credentials;
    const bool isConnected =
        ::connect(client.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
        ::getsockopt(client.number(), SOL_SOCKET, SO_PEERCRED, &credentials, &length) == 0;
    return isConnected ? credentials.pid : 0;
}

} // namespace

std::string kernelName() {
    utsname name{};
    if (::uname(&name) != 0)
        return "";
    return std::string(name.sysname) + " " + name.release + " " + name.machine;
}

std::string distributionName() {
    constexpr std::string_view key = "PRETTY_NAME=";
    const char* const file = isInFlatpak() ? "/run/host/os-release" : "/etc/os-release";
    std::istringstream lines(readFile(file, kLargestRelease).value_or(""));
    for (std::string line; std::getline(lines, line);)
        if (line.starts_with(key)) {
            std::erase(line, '"');
            return line.substr(key.size());
        }
    return "";
}

bool isInFlatpak() {
    return ::access("/.flatpak-info", F_OK) == 0;
}

FolderFacts folderFacts(const files::path& folder) {
    FolderFacts facts{.folder = folder.string()};
    const std::string existing = nearestExisting(folder).string();
    struct statvfs space = {};
    if (::statvfs(existing.c_str(), &space) != 0)
        return facts;
    const bool hasNoFileLeft = space.f_files > 0 && space.f_favail == 0;
    facts.freeBytes = hasNoFileLeft ? 0 : std::uint64_t{space.f_bavail} * space.f_frsize;
    facts.isWritable = (space.f_flag & ST_RDONLY) == 0 && ::access(existing.c_str(), W_OK) == 0;
    return facts;
}

bool isPulseAudioRunning(const files::path& socket) {
    const std::int32_t server = listener(socket);
    const std::string name = server > 0 ? processName(server) : "";
    // systemd may listen for a server that it has started since.
    return name == kPulseAudio || (name == "systemd" && isProgramOfUserRunning(kPulseAudio));
}

} // namespace vello
