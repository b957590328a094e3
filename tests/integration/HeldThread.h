// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ProcessUsage.h"

#include <algorithm>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include <sys/ptrace.h>
#include <sys/wait.h>

namespace vello::session {

/// Stops one thread of a process, as a debugger does, for its lifetime.
class HeldThread {
public:
    explicit HeldThread(pid_t thread) : thread_(thread) {
        EXPECT_EQ(::ptrace(PTRACE_SEIZE, thread, nullptr, nullptr), 0);
        EXPECT_EQ(::ptrace(PTRACE_INTERRUPT, thread, nullptr, nullptr), 0);
        EXPECT_EQ(::waitpid(thread, nullptr, __WALL), thread);
    }
    ~HeldThread() {
        // A thread that was killed meanwhile keeps its process from ending until it is waited for.
        if (::ptrace(PTRACE_DETACH, thread_, nullptr, nullptr) != 0)
            ::waitpid(thread_, nullptr, __WALL);
    }
    HeldThread(const HeldThread&) = delete;
    HeldThread& operator=(const HeldThread&) = delete;

private:
    pid_t thread_;
};

/// The thread of VELLO that waits most often since `before`: once a cycle of the graph for each tap. It
/// cannot be found by name, because each version of PipeWire names it differently.
inline pid_t dataThreadOf(pid_t vello, std::map<std::string, long> before = {}) {
    const auto counts = waits(vello);
    const auto busiest = std::ranges::max_element(
        counts, {}, [&](const auto& count) { return count.second - before[count.first]; });
    return std::stoi(busiest->first);
}

} // namespace vello::session
