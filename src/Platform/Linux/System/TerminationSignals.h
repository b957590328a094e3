// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Descriptor.h"
#include "Platform/Linux/System/WatchThread.h"
#include "Ports/ApplicationEvents.h"
#include "Ports/MainThread.h"

#include <chrono>
#include <csignal>
#include <memory>

namespace vello {

/// Turns SIGTERM, SIGINT and SIGHUP into the orderly end of the application: the first runs the termination
/// action and then `quit` on the main thread. When a second comes, or this object still lives 5 s after the
/// first, the signal takes its own course in a thread of this object, through the handler that is installed
/// by then.
///
/// Construct it on the main thread before any other thread exists, or call block() before: a thread that has
/// them unblocked would let them end the process at once. A SIGHUP that is ignored at that time (nohup) stays
/// without effect. Destroy it on the main thread, last.
class TerminationSignals final : public ApplicationEvents {
public:
    /// Blocks these signals for the calling thread and those that it starts, for good. They wait for the
    /// object.
    static void block();

    TerminationSignals(MainThread& mainThread, Action quit,
                       std::chrono::milliseconds patience = std::chrono::seconds{5});

    /// Never runs: without a screen nothing comes to the front.
    void onDidBecomeActive(Action) override {}
    void onWillTerminate(Action action) override;

private:
    struct Actions;

    void watch(int end) const;
    int waitForSignal(int end, std::chrono::milliseconds longest) const;
    void postTermination() const;

    MainThread& mainThread_;
    const std::chrono::milliseconds patience_;
    const std::shared_ptr<Actions> actions_; ///< touched on the main thread only
    const Descriptor signals_;               ///< delivers them
    const WatchThread thread_;
};

} // namespace vello
