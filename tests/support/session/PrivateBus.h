// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ChildProcess.h"

#include <filesystem>
#include <memory>

namespace vello::session {

/// A session bus of the test's own, which starts the real services of this machine on demand. They keep their
/// data in the given folder and end with the bus.
class PrivateBus {
public:
    enum class Services {
        ofTheMachine,
        none, ///< nobody offers anything
    };

    /// Returns when the bus listens. Throws std::runtime_error with the bus's output.
    explicit PrivateBus(const std::filesystem::path& folder, Services services = Services::ofTheMachine);

    /// For programs that are to live in the session: bus, runtime and data folders of its own.
    const Environment& environment() const { return environment_; }
    std::string address() const { return environment_.at("DBUS_SESSION_BUS_ADDRESS"); }
    std::filesystem::path dataHome() const { return folder_ / "data"; }

    void stop() { daemon_.reset(); }
    void start();
    /// Stops the bus's process as it stands, and lets it go on.
    void freeze(bool isFrozen) const;
    /// Calls a method with busctl, whose words these are; returns its output. Throws like runProgram.
    std::string call(std::vector<std::string> words) const;

private:
    const std::filesystem::path folder_;
    Environment environment_;
    std::string configuration_; ///< option of the bus
    std::unique_ptr<ChildProcess> daemon_;
};

} // namespace vello::session
