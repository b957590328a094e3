// SPDX-License-Identifier: Apache-2.0
#include "PrivateBus.h"

#include "BusConfiguration.h"

#include <csignal>
#include <fstream>
#include <iterator>

namespace vello::session {
PrivateBus::PrivateBus(const std::filesystem::path& folder, Services services) : folder_(folder) {
    for (const char* name : {"run", "home", "config", "data", "cache"})
        std::filesystem::create_directories(folder_ / name);
    std::filesystem::permissions(folder_ / "run", std::filesystem::perms::owner_all);
    for (const auto& [name, value] : ownEnvironment())
        if (name == "PATH" || name == "LD_LIBRARY_PATH" || name.ends_with("SAN_OPTIONS"))
            environment_[name] = value;
    environment_["LANG"] = "C.UTF-8";
    environment_["HOME"] = folder_ / "home";
    environment_["XDG_RUNTIME_DIR"] = folder_ / "run";
    environment_["XDG_CONFIG_HOME"] = folder_ / "config";
    environment_["XDG_DATA_HOME"] = folder_ / "data";
    environment_["XDG_CACHE_HOME"] = folder_ / "cache";
    environment_["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + (folder_ / "run/bus").string();
    if (services == Services::none)
        std::ofstream(folder_ / "bus.conf") << busConfiguration();
    configuration_ =
        services == Services::none ? "--config-file=" + (folder_ / "bus.conf").string() : "--session";
    start();
}

void PrivateBus::start() {
    daemon_ =
        std::make_unique<ChildProcess>(std::vector<std::string>{"dbus-daemon", configuration_, "--nofork",
                                                                "--nopidfile", "--address=" + address()},
                                       environment_, folder_ / "bus.log");
    awaitListener(folder_ / "run/bus", *daemon_);
}

void PrivateBus::freeze(bool isFrozen) const {
    daemon_->signal(isFrozen ? SIGSTOP : SIGCONT);
}

std::string PrivateBus::call(std::vector<std::string> words) const {
    std::vector<std::string> command{"busctl", "--user", "call"};
    command.insert(command.end(), std::make_move_iterator(words.begin()),
                   std::make_move_iterator(words.end()));
    return runProgram(command, environment_, folder_);
}

} // namespace vello::session
