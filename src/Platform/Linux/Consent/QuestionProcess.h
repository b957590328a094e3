// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/System/WatchThread.h"

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <sys/types.h>

namespace vello {

/// Asks the user something through a program of its own, one question at a time. A question that is still
/// open ends with the object. Main thread only.
class QuestionProcess {
public:
    /// Runs on a thread of the object's when the program has ended; `isAnswered`: with exit code 0.
    using OnEnd = std::function<void(bool isAnswered)>;

    explicit QuestionProcess(std::vector<std::string> command) : command_(std::move(command)) {}
    ~QuestionProcess();
    QuestionProcess(const QuestionProcess&) = delete;
    QuestionProcess& operator=(const QuestionProcess&) = delete;

    /// Asks; while the question is open, `onEnd` joins it. Throws std::system_error when the program cannot
    /// be started.
    void ask(OnEnd onEnd);

private:
    void awaitEnd(pid_t pid, int end);
    void ended(bool isAnswered);

    const std::vector<std::string> command_;
    std::mutex mutex_;
    std::vector<OnEnd> waiting_; ///< guarded by the mutex; not empty while a question is open
    std::unique_ptr<WatchThread> thread_;
};

} // namespace vello
