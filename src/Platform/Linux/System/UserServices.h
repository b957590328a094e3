// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace vello {

/// The service manager of the user's session, by the names of its units. Main thread only; the calls block on
/// the bus, for two seconds at most.
class UserServices {
public:
    virtual ~UserServices() = default;

    /// Whether the unit is active now. False without a service manager.
    virtual bool isActive(const std::string& unit) = 0;
    /// The state of the unit's file as systemctl(1) names it: "enabled", "disabled", "masked" and others.
    /// Empty when the manager does not know the unit, or there is no manager.
    virtual std::string fileState(const std::string& unit) = 0;
    /// Makes the unit start with what it is wanted by, from the next time on. Other units lose the aliases
    /// that it has. Throws std::runtime_error.
    virtual void enable(const std::string& unit) = 0;
    /// Harmless when it is not enabled. Throws std::runtime_error.
    virtual void disable(const std::string& unit) = 0;
};

} // namespace vello
