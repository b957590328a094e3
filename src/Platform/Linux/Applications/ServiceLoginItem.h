// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/System/UserServices.h"
#include "Ports/LoginItem.h"

#include <string>

namespace vello {

/// The start at login by the session's service manager where it starts the session's programs, and by another
/// item elsewhere; never by both.
class ServiceLoginItem final : public LoginItem {
public:
    /// `target` is the unit that starts `unit`: where that is not active now, it is not at the next login,
    /// either. The references must outlive the object.
    ServiceLoginItem(UserServices& services, LoginItem& elsewhere, std::string unit, std::string target)
        : services_(services), elsewhere_(elsewhere), unit_(std::move(unit)), target_(std::move(target)) {}

    Status status() override;
    void registerItem() override;
    void unregisterItem() override;

private:
    /// Whether the service manager knows the unit and would start it in a session like this one.
    bool isServed();
    bool isUnitEnabled();

    UserServices& services_;
    LoginItem& elsewhere_;
    const std::string unit_;
    const std::string target_;
};

} // namespace vello
