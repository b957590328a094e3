// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <cstdlib>

namespace vello {

/// Ends the process with `message` on standard error unless `holds`. For mistakes of the program itself only:
/// no input from outside may reach a precondition that fails.
inline void precondition(bool holds, const char* message) noexcept {
    if (holds) [[likely]]
        return;
    std::fprintf(stderr, "Precondition failed: %s\n", message);
    std::abort();
}

} // namespace vello
