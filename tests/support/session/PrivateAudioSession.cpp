// SPDX-License-Identifier: Apache-2.0
#include "PrivateAudioSession.h"

#include "AudioGraph.h"
#include "BusConfiguration.h"
#include "SessionConfiguration.h"

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include <unistd.h>

namespace vello::session {
namespace {

using namespace std::chrono_literals;
namespace files = std::filesystem;

constexpr auto kStartLimit = 30s;

files::path makeFolder() {
    std::string name = (files::temp_directory_path() / "vello-session-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr)
        throw std::system_error(errno, std::generic_category(), name);
    return name;
}

void writeFile(const files::path& file, const std::string& text) {
    files::create_directories(file.parent_path());
    std::ofstream stream(file, std::ios::trunc);
    stream << text;
    if (!stream.flush())
        throw std::runtime_error("cannot write " + file.string());
}

/// The services that the machine offers on a session bus, except the desktop's portals. An installed portal
/// would start here too, find no desktop, and exit while programs are using it.
void linkServices(const files::path& folder) {
    files::create_directories(folder);
    for (const auto& service : files::directory_iterator("/usr/share/dbus-1/services"))
        if (!service.path().filename().string().starts_with("org.freedesktop.portal."))
            files::create_symlink(service.path(), folder / service.path().filename());
}

/// The part of the user's environment that session programs need, without the user's desktop and sound
/// server.
Environment sessionEnvironment(const files::path& folder, const files::path& runtime) {
    Environment result;
    for (const auto& [name, value] : ownEnvironment())
        if (name == "PATH" || name == "LD_LIBRARY_PATH" || name.ends_with("SAN_OPTIONS"))
            result[name] = value;
    result["HOME"] = folder / "home";
    result["LANG"] = "C.UTF-8";
    result["XDG_RUNTIME_DIR"] = runtime;
    result["XDG_CONFIG_HOME"] = folder / "config";
    result["XDG_CONFIG_DIRS"] = folder / "no-config";
    result["XDG_DATA_HOME"] = folder / "data";
    result["XDG_STATE_HOME"] = folder / "state";
    result["XDG_CACHE_HOME"] = folder / "cache";
    result["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + (runtime / "bus").string();
    result["PULSE_SERVER"] = "unix:" + (runtime / "pulse" / "native").string();
    result["PULSE_COOKIE"] = runtime / "cookie";
    result["DBUS_SYSTEM_BUS_ADDRESS"] = "unix:path=" + (runtime / "no-system-bus").string();
    return result;
}

} // namespace

PrivateAudioSession::PrivateAudioSession(SessionOptions options)
    : options_(std::move(options)), runtime_(folder_ / "run"),
      environment_(sessionEnvironment(folder_, runtime_)) {
    for (const auto* name : {"run", "home", "config", "data", "state", "cache"})
        files::create_directories(folder_ / name);
    files::permissions(runtime_, files::perms::owner_all);
    writeConfiguration();
    startBus();
    startServers();
}

PrivateAudioSession::~PrivateAudioSession() = default;

PrivateAudioSession::TemporaryFolder::TemporaryFolder() : path(makeFolder()) {}

PrivateAudioSession::TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    files::remove_all(path, ignored);
}

std::unique_ptr<ChildProcess> PrivateAudioSession::start(const std::string& name,
                                                         const std::vector<std::string>& arguments) const {
    return std::make_unique<ChildProcess>(arguments, environment_, folder_ / (name + ".log"));
}

std::string PrivateAudioSession::run(const std::vector<std::string>& arguments) const {
    return runProgram(arguments, environment_, folder_);
}

void PrivateAudioSession::signalServers(int number) const {
    for (const auto* server : {&server_, &sessionManager_, &pulseServer_})
        (*server)->signal(number);
}

void PrivateAudioSession::killServers() {
    server_.reset();
    pulseServer_.reset();
    sessionManager_.reset();
}

void PrivateAudioSession::startServers() {
    server_ = start("pipewire", {"pipewire", "-c", (folder_ / "pipewire.conf").string()});
    awaitListener(runtime_ / "pipewire-0", *server_);
    startSessionManager();
    startPulseServer();
    waitUntilReady();
}

void PrivateAudioSession::startSessionManager() {
    sessionManager_ = start("wireplumber", {"wireplumber"});
}

void PrivateAudioSession::startPulseServer() {
    pulseServer_ = start("pipewire-pulse", {"pipewire", "-c", (folder_ / "pipewire-pulse.conf").string()});
    awaitListener(runtime_ / "pulse" / "native", *pulseServer_);
}

void PrivateAudioSession::writeDesktopEntry(const std::string& id, const std::string& name,
                                            const std::string& executable, const std::string& icon) const {
    writeFile(dataHome() / "applications" / (id + ".desktop"),
              "[Desktop Entry]\nType=Application\nName=" + name + "\nExec=" + executable +
                  "\nIcon=" + (icon.empty() ? id : icon) + "\n");
}

std::string PrivateAudioSession::logs() const {
    std::string result;
    for (const auto* program : {&server_, &sessionManager_, &pulseServer_})
        if (*program)
            result += (*program)->output();
    return result;
}

void PrivateAudioSession::writeConfiguration() const {
    writeFile(folder_ / "pipewire.conf", serverConfiguration(options_));
    writeFile(folder_ / "pipewire-pulse.conf", pulseServerConfiguration());
    const auto manager = folder_ / "config" / "wireplumber";
    writeFile(manager / "main.lua.d" / "51-no-hardware.lua", sessionManagerLua());
    writeFile(manager / "bluetooth.lua.d" / "51-no-hardware.lua", sessionManagerBluetoothLua());
    writeFile(manager / "wireplumber.conf.d" / "51-no-hardware.conf", sessionManagerProfile());
}

void PrivateAudioSession::startBus() {
    const auto configuration = folder_ / "bus.conf";
    linkServices(folder_ / "services");
    writeFile(configuration, busConfiguration(folder_ / "services"));
    bus_ = start("dbus", {"dbus-daemon", "--config-file=" + configuration.string(), "--nofork", "--nopidfile",
                          "--address=" + environment_.at("DBUS_SESSION_BUS_ADDRESS")});
    awaitListener(runtime_ / "bus", *bus_);
}

void PrivateAudioSession::waitUntilReady() {
    AudioGraph graph(socket());
    const bool ready = graph.waitUntil(
        [this](const GraphState& state) {
            const auto* defaultOutput = state.nodeNamed(state.defaultOutput());
            for (const auto& output : options_.outputs)
                if (state.nodeNamed(output.name) == nullptr)
                    return false;
            return defaultOutput != nullptr || options_.outputs.empty();
        },
        kStartLimit);
    if (!ready)
        throw std::runtime_error("the audio session does not start:\n" + describe(graph.state()) + logs());
}

} // namespace vello::session
