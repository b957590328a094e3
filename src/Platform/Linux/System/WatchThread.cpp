// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/WatchThread.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <sys/eventfd.h>
#include <system_error>

namespace vello {
namespace {

Descriptor makeEvent() {
    Descriptor event(::eventfd(0, EFD_CLOEXEC));
    if (!event.isOpen())
        throw std::system_error(errno, std::generic_category(), "cannot watch for changes");
    return event;
}

} // namespace

WatchThread::WatchThread(std::function<void(int end)> watch)
    : end_(makeEvent()), thread_([watch = std::move(watch), end = end_.number()] { watch(end); }) {}

WatchThread::~WatchThread() {
    const std::uint64_t one = 1;
    // An event counter that is zero always takes a one.
    if (::write(end_.number(), &one, sizeof one) != sizeof one)
        std::abort();
    thread_.join();
}

} // namespace vello
