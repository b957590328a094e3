// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/MainThread.h"

#include <algorithm>
#include <chrono>

namespace vello {

/// How long to wait before a save that failed is tried again: 1 s, 2 s, 4 s and so on, at most a minute.
class RetryDelay {
public:
    MainThread::Duration next() {
        last_ = std::clamp<MainThread::Duration>(2 * last_, std::chrono::seconds(1), std::chrono::minutes(1));
        return last_;
    }
    /// Call when a save has worked.
    void reset() { last_ = {}; }

private:
    MainThread::Duration last_{};
};

} // namespace vello
