// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Descriptor.h"

#include <functional>
#include <thread>

namespace vello {

/// A thread that waits for descriptors until its owner lets go of it.
class WatchThread {
public:
    /// `watch` runs on the thread, once, and returns soon after `end` has become readable. Throws
    /// std::system_error.
    explicit WatchThread(std::function<void(int end)> watch);
    /// Ends the thread and waits for that.
    ~WatchThread();
    WatchThread(const WatchThread&) = delete;
    WatchThread& operator=(const WatchThread&) = delete;

private:
    const Descriptor end_;
    std::thread thread_;
};

} // namespace vello
