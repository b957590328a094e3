// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <functional>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace vello {

/// Runs `write` in a child process and kills the process after `stops` entries to and exits from the kernel.
/// Returns true when it was killed before it had finished. Call while the test has a single thread.
inline bool isKilledAfter(int stops, const std::function<void()>& write) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
        ::raise(SIGSTOP);
        write();
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    for (int stop = 0; stop < stops; ++stop) {
        ::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr);
        ::waitpid(child, &status, 0);
        if (WIFEXITED(status))
            return false;
    }
    ::kill(child, SIGKILL);
    ::waitpid(child, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    return true;
}

} // namespace vello
