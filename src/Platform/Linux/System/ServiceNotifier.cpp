// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/ServiceNotifier.h"

#include <systemd/sd-daemon.h>

#include <cstdint>
#include <cstdlib>
#include <utility>

namespace vello {
namespace {

using namespace std::chrono_literals;

/// "Alive" is sent three times within the manager's timeout, so that a busy machine has time left.
constexpr int kBeatsPerTimeout = 3;
/// While the process is not healthy, it looks more often: it may recover shortly before the timeout.
constexpr int kLooksPerTimeout = 20;
/// How long the manager may take to read the last message.
constexpr std::chrono::microseconds kReadingPatience = 2s;

} // namespace

ServiceManager ServiceManager::fromEnvironment() {
    const char* const socket = std::getenv("NOTIFY_SOCKET");
    std::uint64_t microseconds = 0;
    const bool isWatched = ::sd_watchdog_enabled(0, &microseconds) > 0;
    return {.isPresent = socket != nullptr && *socket != '\0',
            .watchdogTimeout = std::chrono::microseconds(isWatched ? microseconds : 0)};
}

ServiceNotifier::ServiceNotifier(MainThread& mainThread, std::function<bool()> isHealthy,
                                 ServiceManager manager, Send send)
    : mainThread_(mainThread), isHealthy_(std::move(isHealthy)), manager_(manager), send_(std::move(send)) {}

ServiceNotifier::~ServiceNotifier() {
    if (isReady_)
        send_("STOPPING=1");
}

void ServiceNotifier::start() {
    if (!manager_.isPresent)
        return;
    next_ = mainThread_.after(MainThread::Duration::zero(), [this] {
        isReady_ = true;
        send_("READY=1");
        if (manager_.watchdogTimeout > MainThread::Duration::zero())
            beat();
    });
}

void ServiceNotifier::beat() {
    const bool isHealthy = isHealthy_();
    if (isHealthy)
        send_("WATCHDOG=1");
    next_ = mainThread_.after(manager_.watchdogTimeout / (isHealthy ? kBeatsPerTimeout : kLooksPerTimeout),
                              [this] { beat(); });
}

void ServiceNotifier::sendToManager(const std::string& message) {
    ::sd_notify(0, message.c_str());
}

void reportNothingToDo(const std::string& status) {
    if (!ServiceManager::fromEnvironment().isPresent)
        return;
    // Not STOPPING=1 as well, which would hide READY=1.
    ServiceNotifier::sendToManager("READY=1\nSTATUS=" + status);
    ::sd_notify_barrier(0, kReadingPatience.count());
}

} // namespace vello
