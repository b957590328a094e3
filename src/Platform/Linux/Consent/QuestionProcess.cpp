// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Consent/QuestionProcess.h"

#include "Platform/Linux/System/SpawnedProgram.h"

#include <csignal>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

#include <QSocketNotifier>

namespace vello {

QuestionProcess::QuestionProcess(std::vector<std::string> command) : command_(std::move(command)) {}

QuestionProcess::~QuestionProcess() {
    if (waiting_.empty())
        return;
    ::kill(pid_, SIGTERM);
    awaitExitCode(pid_);
}

void QuestionProcess::ask(OnEnd onEnd) {
    if (waiting_.empty())
        start();
    waiting_.push_back(std::move(onEnd));
}

void QuestionProcess::start() {
    pid_ = spawnProgram(command_);
    process_ = Descriptor(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
    notifier_ = std::make_unique<QSocketNotifier>(process_.number(), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] { ended(); });
}

void QuestionProcess::ended() {
    notifier_->setEnabled(false);
    notifier_.release()->deleteLater(); // it is what calls
    const bool isAnswered = awaitExitCode(pid_) == 0;
    for (const OnEnd& each : std::exchange(waiting_, {}))
        each(isAnswered);
}

} // namespace vello
