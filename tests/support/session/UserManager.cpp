// SPDX-License-Identifier: Apache-2.0
#include "UserManager.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace vello::session {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr const char* kProgram = "/lib/systemd/systemd";
constexpr const char* kUnitsOfTheMachine = "/usr/lib/systemd/user";

void writeLines(const fs::path& file, const std::string& lines) {
    fs::create_directories(file.parent_path());
    std::ofstream(file) << lines;
}

} // namespace

UserManager::UserManager(fs::path folder, const Environment& session, const fs::path& installation)
    : folder_(std::move(folder)), environment_(session) {
    const fs::path runtime = folder_ / "run";
    const fs::path units = fs::path(session.at("XDG_CONFIG_HOME")) / "systemd/user";
    fs::create_directories(runtime);
    fs::permissions(runtime, fs::perms::owner_all);
    environment_["PIPEWIRE_RUNTIME_DIR"] = session.at("XDG_RUNTIME_DIR");
    environment_["XDG_RUNTIME_DIR"] = runtime;
    environment_["DBUS_SESSION_BUS_ADDRESS"] = "unix:path=" + (runtime / "bus").string();
    environment_["XDG_DATA_DIRS"] = installation / "share";
    // Without /etc/systemd/user, which would start this machine's audio server.
    environment_["SYSTEMD_UNIT_PATH"] =
        units.string() + ":" + (installation / "lib/systemd/user").string() + ":" + kUnitsOfTheMachine;
    environment_["SYSTEMD_LOG_TARGET"] = "console";
    const std::string output = "append:" + (folder_ / "services.log").string() + "\n";
    writeLines(units / "service.d/output.conf",
               "[Service]\nStandardOutput=" + output + "StandardError=" + output);
    logIn();
}

void UserManager::logIn() {
    manager_ = std::make_unique<ChildProcess>(std::vector<std::string>{kProgram, "--user"}, environment_,
                                              folder_ / "manager.log");
    awaitListener(folder_ / "run/bus", *manager_);
}

void UserManager::logOut() {
    manager_->terminate(30s);
    fs::remove(folder_ / "run/bus");
}

std::string UserManager::control(std::vector<std::string> words) const {
    std::vector<std::string> command{"systemctl", "--user", "--no-pager"};
    command.insert(command.end(), std::make_move_iterator(words.begin()),
                   std::make_move_iterator(words.end()));
    return runProgram(command, environment_, folder_, 60s);
}

std::string UserManager::property(const std::string& unit, const std::string& name) const {
    std::string value = control({"show", "--value", "--property=" + name, unit});
    while (!value.empty() && value.back() == '\n')
        value.pop_back();
    return value;
}

pid_t UserManager::mainProcess(const std::string& unit) const {
    return std::stoi(property(unit, "MainPID"));
}

void UserManager::configure(const std::string& unit, const std::string& lines) const {
    writeLines(fs::path(environment_.at("XDG_CONFIG_HOME")) / "systemd/user" / (unit + ".d/trial.conf"),
               "[Service]\n" + lines);
    control({"daemon-reload"});
}

std::string UserManager::log() const {
    std::ifstream services(folder_ / "services.log");
    return manager_->output() + std::string(std::istreambuf_iterator<char>(services), {});
}

} // namespace vello::session
