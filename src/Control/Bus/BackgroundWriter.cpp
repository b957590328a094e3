// SPDX-License-Identifier: Apache-2.0
#include "BackgroundWriter.h"

#include <cerrno>
#include <ostream>
#include <utility>

namespace vello {

BackgroundWriter::BackgroundWriter(std::ostream& out) : out_(out), thread_([this] { run(); }) {}

BackgroundWriter::~BackgroundWriter() {
    {
        const std::scoped_lock lock(mutex_);
        isEnding_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

void BackgroundWriter::write(std::string text) {
    isIdle_ = false;
    {
        const std::scoped_lock lock(mutex_);
        text_ = std::move(text);
    }
    changed_.notify_one();
}

void BackgroundWriter::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return text_ || isEnding_; });
        if (!text_)
            return;
        const std::string text = *std::exchange(text_, std::nullopt);
        lock.unlock();
        errno = 0;
        out_ << text << std::flush;
        QMetaObject::invokeMethod(
            this, [this, isWritten = !out_.fail(), problem = errno] { finished(isWritten, problem); },
            Qt::QueuedConnection);
        lock.lock();
    }
}

void BackgroundWriter::finished(bool isWritten, int problem) {
    isIdle_ = isWritten;
    if (isWritten)
        Q_EMIT idle();
    else
        Q_EMIT failed(problem);
}

} // namespace vello
