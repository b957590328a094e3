// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <string>
#include <system_error>

namespace vello {

/// Throws std::system_error: what was tried, and why the system refused it.
[[noreturn]] inline void fail(const std::string& what, int error = errno) {
    throw std::system_error(error, std::generic_category(), what);
}

} // namespace vello
