// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/MainThread.h"

#include <functional>
#include <string>

namespace vello {

/// What the service manager that started this process expects from it.
struct ServiceManager {
    /// Whether a service manager waits for messages. False for a process started in any other way.
    bool isPresent = false;
    /// The manager restarts a process that is silent for so long; 0: it does not watch.
    MainThread::Duration watchdogTimeout{};

    /// What NOTIFY_SOCKET, WATCHDOG_USEC and WATCHDOG_PID say (sd_notify(3), sd_watchdog_enabled(3)).
    static ServiceManager fromEnvironment();
};

/// Tells the service manager (systemd) that this process is ready, alive and ending. Without a manager it
/// does nothing.
///
/// "Alive" is sent from the main thread's loop, so a loop that is stuck falls silent and the manager restarts
/// the process. Main thread only.
class ServiceNotifier {
public:
    /// Sends one message, lines of the form NAME=value.
    using Send = std::function<void(const std::string& message)>;

    /// While `isHealthy` is false, "alive" is not sent: another thread is stuck. The main thread must outlive
    /// the object.
    ServiceNotifier(MainThread& mainThread, std::function<bool()> isHealthy,
                    ServiceManager manager = ServiceManager::fromEnvironment(), Send send = sendToManager);
    /// Reports that the process is ending, if it was ready.
    ~ServiceNotifier();
    ServiceNotifier(const ServiceNotifier&) = delete;
    ServiceNotifier& operator=(const ServiceNotifier&) = delete;

    /// Reports "ready" as soon as the loop runs, and "alive" from then on. Call once.
    void start();

    static void sendToManager(const std::string& message);

private:
    void beat();

    MainThread& mainThread_;
    const std::function<bool()> isHealthy_;
    const ServiceManager manager_;
    const Send send_;
    bool isReady_ = false;
    TaskHandle next_;
};

/// Reports that this process has nothing to do, for the reason `status`, and waits until the manager knows.
/// The process can then end with success; otherwise the manager would take it for one that failed to start,
/// and start it again. Does nothing without a manager.
void reportNothingToDo(const std::string& status);

} // namespace vello
