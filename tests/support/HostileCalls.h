// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace vello {

/// What became of calls that nobody should make.
struct HostileOutcome {
    int refused = 0;                  ///< answered with an error
    int answered = 0;                 ///< answered otherwise: only harmless questions are
    int silent = 0;                   ///< not answered in time, or the connection was cut by the bus
    std::string firstUnexpected = {}; ///< a call that should have been refused and was not
};

/// Makes `count` malformed or hostile calls of the instance on the bus at `address`: wrong types and counts,
/// numbers that are none, huge and ill-made texts, unknown ids, objects, interfaces, members and properties,
/// deep nesting. No call is one that may change anything. The same seed makes the same calls. Blocks; any
/// thread.
HostileOutcome makeHostileCalls(const std::string& address, int count, std::uint32_t seed);

} // namespace vello
