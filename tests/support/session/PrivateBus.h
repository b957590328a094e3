// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ChildProcess.h"

#include <filesystem>
#include <memory>

namespace vello::session {

/// A private session bus that starts this machine's real services on demand. They store their data in the
/// given folder and end with the bus.
class PrivateBus {
public:
    enum class Services {
        ofTheMachine,
        none, ///< no services
    };

    /// Returns when the bus listens. Throws std::runtime_error with the bus's output.
    explicit PrivateBus(const std::filesystem::path& folder, Services services = Services::ofTheMachine);

    /// For programs in the session: private bus, runtime and data folders.
    const Environment& environment() const { return environment_; }
    std::string address() const { return environment_.at("DBUS_SESSION_BUS_ADDRESS"); }
    std::filesystem::path dataHome() const { return folder_ / "data"; }

    void stop() { daemon_.reset(); }
    void start();
    /// Stops or continues the bus's process.
    void freeze(bool isFrozen) const;
    /// Calls a method with these arguments of busctl; returns its output. Throws like runProgram.
    std::string call(std::vector<std::string> words) const;

private:
    const std::filesystem::path folder_;
    Environment environment_;
    std::string configuration_; ///< command-line option of the bus
    std::unique_ptr<ChildProcess> daemon_;
};

} // namespace vello::session
