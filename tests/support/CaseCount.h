// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>

namespace vello::test {

/// Whether the tests run under a sanitizer, which makes them several times slower.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool isSanitized = true;
#else
inline constexpr bool isSanitized = false;
#endif

/// How many cases a test tries whose cases differ in numbers only: what the environment variable says, or the
/// usual number, of which a tenth under a sanitizer.
inline int caseCount(const char* variable, int usual) {
    const char* const wanted = std::getenv(variable);
    return wanted != nullptr ? std::atoi(wanted) : usual / (isSanitized ? 10 : 1);
}

} // namespace vello::test
