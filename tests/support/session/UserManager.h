// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ChildProcess.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

namespace vello::session {

/// A private instance of systemd that manages a user's services, with a session bus of its own and the units
/// of one installation of VELLO. It knows none of the services that this machine enables. Everything ends
/// with the object.
///
/// This process must be in a control group that it may divide; scripts/service-trial provides one.
class UserManager {
public:
    /// Starts the manager. `session` is the environment of an audio session that exists without the manager,
    /// `installation` the prefix of an installed VELLO. Throws std::runtime_error with the manager's log.
    UserManager(std::filesystem::path folder, const Environment& session,
                const std::filesystem::path& installation);

    /// For programs that the user starts.
    const Environment& environment() const { return environment_; }
    /// As at the user's next login, after logOut().
    void logIn();
    /// Ends all services and the manager.
    void logOut();

    /// Runs systemctl --user with these arguments and returns its output. Throws like runProgram.
    std::string control(std::vector<std::string> words) const;
    std::string property(const std::string& unit, const std::string& name) const;
    /// 0 while the unit has none.
    pid_t mainProcess(const std::string& unit) const;
    /// Adds lines to the section [Service] of a unit.
    void configure(const std::string& unit, const std::string& lines) const;
    /// What the manager and its services have said.
    std::string log() const;

private:
    const std::filesystem::path folder_;
    Environment environment_;
    std::unique_ptr<ChildProcess> manager_;
};

} // namespace vello::session
