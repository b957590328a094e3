// SPDX-License-Identifier: Apache-2.0
#include "RealtimeWatch.h"

#include <array>
#include <cstddef>

#include <csignal>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vello::test {

void noteForbiddenCall(const char* name) noexcept;

namespace {

/// The calls made while the watch was on. A plain array, because recording a call must not call anything
/// itself.
struct Notes {
    std::array<const char*, 64> names{};
    std::size_t count = 0;
    bool isWatching = false;
};
thread_local Notes notes;

/// After this, every system call except these ends the process.
bool forbidSystemCalls() {
    std::array<sock_filter, 5> program{{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_clock_gettime, 2, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 1, 0),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

} // namespace

void noteForbiddenCall(const char* name) noexcept {
    if (notes.isWatching && notes.count < notes.names.size())
        notes.names[notes.count++] = name;
}

std::vector<std::string> forbiddenCallsDuring(const std::function<void()>& action) {
    notes.count = 0;
    notes.isWatching = true;
    action();
    notes.isWatching = false;
    return {notes.names.begin(), notes.names.begin() + static_cast<std::ptrdiff_t>(notes.count)};
}

SystemCalls systemCallsDuring(const std::function<void()>& action) {
    constexpr int done = 42;
    constexpr int cannotWatch = 43;
    const pid_t child = fork();
    if (child == 0) {
        if (!forbidSystemCalls())
            _exit(cannotWatch);
        action();
        _exit(done);
    }
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child)
        return SystemCalls::unknown;
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGSYS)
        return SystemCalls::made;
    return WIFEXITED(status) && WEXITSTATUS(status) == done ? SystemCalls::none : SystemCalls::unknown;
}

} // namespace vello::test
