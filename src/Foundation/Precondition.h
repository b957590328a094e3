// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <cstdlib>

namespace vello {

/// Prints `message` to standard error and aborts the process unless `holds`. For programming errors only:
/// input from outside must never make a precondition fail.
inline void precondition(bool holds, const char* message) noexcept {
    if (holds) [[likely]]
        return;
    std::fprintf(stderr, "Precondition failed: %s\n", message);
    std::abort();
}

} // namespace vello
