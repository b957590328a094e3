// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <cstdlib>
#include <system_error>
#include <unistd.h>

namespace vello {

/// Drops root privileges during its lifetime, if the tests run as root.
class OrdinaryUser {
public:
    OrdinaryUser() {
        if (::geteuid() == 0 && ::seteuid(65534) != 0)
            throw std::system_error(errno, std::generic_category(), "seteuid");
    }
    ~OrdinaryUser() {
        if (::getuid() == 0 && ::seteuid(0) != 0)
            std::abort();
    }
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;
};

} // namespace vello
