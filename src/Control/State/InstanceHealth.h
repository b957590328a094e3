// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vello {

/// What a running instance says of itself for a report.
struct InstanceHealth {
    std::uint64_t missedCycles = 0;       ///< xruns since it started
    std::vector<std::string> errors = {}; ///< last lines of its log, oldest first; they may name applications

    friend bool operator==(const InstanceHealth&, const InstanceHealth&) = default;
};

/// Main thread.
using ReadHealth = std::function<InstanceHealth()>;

} // namespace vello
