// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Capture/TapTeardownQueue.h"

#include "Foundation/Product.h"

#include <future>
#include <memory>
#include <string>
#include <utility>

#ifdef __linux__
#include <pthread.h>
#endif

namespace vello {

namespace {

void nameThisThread([[maybe_unused]] const std::string& label) {
#ifdef __linux__
    constexpr std::size_t longestName = 15;
    ::pthread_setname_np(::pthread_self(), label.substr(0, longestName).c_str());
#endif
}

} // namespace

TapTeardownQueue::TapTeardownQueue() : worker_([this] { work(); }) {}

TapTeardownQueue::~TapTeardownQueue() {
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
    }
    changed_.notify_one();
    worker_.join();
}

void TapTeardownQueue::submit(Job job) {
    {
        const std::lock_guard lock(mutex_);
        jobs_.push_back(std::move(job));
    }
    changed_.notify_one();
}

void TapTeardownQueue::drain() {
    const auto reached = std::make_shared<std::promise<void>>();
    submit([reached] { reached->set_value(); });
    reached->get_future().wait();
}

void TapTeardownQueue::work() {
    nameThisThread(std::string(kBundleIdentifier) + ".tap-teardown");
    while (const Job job = next())
        job();
}

TapTeardownQueue::Job TapTeardownQueue::next() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return !jobs_.empty() || isEnding_; });
    if (jobs_.empty())
        return {};
    Job job = std::move(jobs_.front());
    jobs_.pop_front();
    return job;
}

} // namespace vello
