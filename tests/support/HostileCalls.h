// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace vello {

/// Results of calls that no well-behaved client makes.
struct HostileOutcome {
    int refused = 0;                  ///< answered with an error
    int answered = 0;                 ///< answered without an error: only harmless queries are
    int silent = 0;                   ///< not answered in time, or the bus closed the connection
    std::string firstUnexpected = {}; ///< a call that should have been refused but was not
};

enum class AttackedMembers {
    all,
    presetsAndSources, ///< steps, new sources, undo, forget, delete and rename
};

/// Makes `count` malformed or hostile calls to the instance on the bus at `address`: wrong types and counts,
/// values that are not numbers, huge and malformed texts, unknown IDs, objects, interfaces, members and
/// properties, deep nesting. No call may change anything. The same seed makes the same calls. Blocks; any
/// thread.
HostileOutcome makeHostileCalls(const std::string& address, int count, std::uint32_t seed,
                                AttackedMembers members = AttackedMembers::all);

} // namespace vello
