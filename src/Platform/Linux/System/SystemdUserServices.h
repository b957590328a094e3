// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/System/UserServices.h"

namespace vello {

/// The units of systemd, over the session bus.
class SystemdUserServices final : public UserServices {
public:
    bool isActive(const std::string& unit) override;
    std::string fileState(const std::string& unit) override;
    void enable(const std::string& unit) override;
    void disable(const std::string& unit) override;
};

} // namespace vello
