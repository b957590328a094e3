// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/QuestionProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace vello {
namespace {

/// The program's signals are as a user's shell would leave them: this process blocks and ignores some.
class SpawnAttributes {
public:
    SpawnAttributes() {
        sigset_t none;
        sigset_t all;
        ::sigemptyset(&none);
        ::sigfillset(&all);
        ::posix_spawnattr_init(&value_);
        ::posix_spawnattr_setsigmask(&value_, &none);
        ::posix_spawnattr_setsigdefault(&value_, &all);
        ::posix_spawnattr_setflags(&value_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnAttributes() { ::posix_spawnattr_destroy(&value_); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    const posix_spawnattr_t* value() const { return &value_; }

private:
    posix_spawnattr_t value_{};
};

pid_t spawn(const std::vector<std::string>& command) {
    std::vector<char*> arguments;
    for (const std::string& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    pid_t pid = -1;
    const SpawnAttributes attributes;
    const int error =
        ::posix_spawn(&pid, command.front().c_str(), nullptr, attributes.value(), arguments.data(), environ);
    if (error != 0)
        throw std::system_error(error, std::generic_category(), "cannot start " + command.front());
    return pid;
}

bool hasEndedWell(pid_t pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0)
        if (errno != EINTR)
            return false;
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

QuestionProcess::~QuestionProcess() {
    thread_.reset();
}

void QuestionProcess::ask(OnEnd onEnd) {
    {
        const std::lock_guard lock(mutex_);
        waiting_.push_back(std::move(onEnd));
        if (waiting_.size() > 1)
            return;
    }
    pid_t pid = -1;
    thread_.reset(); // that of the last question, which has ended
    try {
        pid = spawn(command_);
    } catch (...) {
        const std::lock_guard lock(mutex_);
        waiting_.clear();
        throw;
    }
    thread_ = std::make_unique<WatchThread>([this, pid](int end) { awaitEnd(pid, end); });
}

void QuestionProcess::awaitEnd(pid_t pid, int end) {
    const Descriptor process(static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)));
    std::array<pollfd, 2> events{{{end, POLLIN, 0}, {process.number(), POLLIN, 0}}};
    while (process.isOpen() && ::poll(events.data(), events.size(), -1) < 0) {
    }
    const bool isDropped = events[0].revents != 0;
    if (isDropped)
        ::kill(pid, SIGTERM);
    const bool isAnswered = hasEndedWell(pid);
    if (!isDropped)
        ended(isAnswered);
}

void QuestionProcess::ended(bool isAnswered) {
    std::vector<OnEnd> waiting;
    {
        const std::lock_guard lock(mutex_);
        waiting.swap(waiting_);
    }
    for (const OnEnd& each : waiting)
        each(isAnswered);
}

} // namespace vello
