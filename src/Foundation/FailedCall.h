// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <string>
#include <system_error>

namespace vello {

/// Throws std::system_error. `what` is the operation that failed, `error` the errno value.
[[noreturn]] inline void fail(const std::string& what, int error = errno) {
    throw std::system_error(error, std::generic_category(), what);
}

} // namespace vello
