// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Consent/QuestionProcess.h"

#include "Platform/Linux/System/SpawnedProgram.h"

#include <array>
#include <csignal>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace vello {

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
        pid = spawnProgram(command_);
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
    const bool isAnswered = awaitExitCode(pid) == 0;
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
