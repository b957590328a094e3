// SPDX-License-Identifier: Apache-2.0
#include "PipeWireTimer.h"

#include <utility>

#include <pipewire/loop.h>

namespace vello {

PipeWireTimer::PipeWireTimer(pw_loop* loop, std::function<void()> action)
    : loop_(loop), action_(std::move(action)), source_(pw_loop_add_timer(loop, expired, this)) {}

PipeWireTimer::~PipeWireTimer() {
    pw_loop_destroy_source(loop_, source_);
}

void PipeWireTimer::start(std::chrono::nanoseconds pause) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(pause);
    timespec time{.tv_sec = seconds.count(), .tv_nsec = (pause - seconds).count()};
    pw_loop_update_timer(loop_, source_, &time, nullptr, false);
}

void PipeWireTimer::expired(void* data, std::uint64_t) {
    static_cast<PipeWireTimer*>(data)->action_();
}

} // namespace vello
