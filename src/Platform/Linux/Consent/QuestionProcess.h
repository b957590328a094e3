// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Descriptor.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <sys/types.h>

class QSocketNotifier;

namespace vello {

/// Asks the user something through a program of its own, one question at a time. A question that is still
/// open ends with the object. Main thread only.
class QuestionProcess {
public:
    /// Runs when the program has ended; `isAnswered`: with exit code 0.
    using OnEnd = std::function<void(bool isAnswered)>;

    explicit QuestionProcess(std::vector<std::string> command);
    ~QuestionProcess();
    QuestionProcess(const QuestionProcess&) = delete;
    QuestionProcess& operator=(const QuestionProcess&) = delete;

    /// Asks; while the question is open, `onEnd` joins it. Throws std::system_error when the program cannot
    /// be started.
    void ask(OnEnd onEnd);
    bool isOpen() const { return !waiting_.empty(); }

private:
    void start();
    void ended();

    const std::vector<std::string> command_;
    std::vector<OnEnd> waiting_; ///< not empty while a question is open
    pid_t pid_ = -1;
    Descriptor process_; ///< readable when the program has ended
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace vello
