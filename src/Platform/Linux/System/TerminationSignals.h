// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Descriptor.h"
#include "Platform/Linux/System/WatchThread.h"
#include "Ports/ApplicationEvents.h"
#include "Ports/MainThread.h"

#include <chrono>
#include <csignal>
#include <memory>
#include <utility>

namespace vello {

/// Turns SIGTERM, SIGINT and SIGHUP into the orderly end of the application: the first runs the termination
/// action and then `quit` on the main thread. A session that ends, or `timeout`, may send several at once, so
/// another one is taken for the same request until the action has run for 1 s, which is time enough to save.
/// One that comes later, or the first if this object still lives 5 s after it, takes its own course in a
/// thread of this object, through the handler that is installed by then.
///
/// Construct it on the main thread before any other thread exists, or call block() before: a thread that has
/// them unblocked would let them end the process at once. A SIGHUP that is ignored at that time (nohup) stays
/// without effect. Destroy it on the main thread, last.
class TerminationSignals final : public ApplicationEvents {
public:
    struct Timing {
        std::chrono::milliseconds grace{1000};    ///< from the start of the action
        std::chrono::milliseconds patience{5000}; ///< from the first signal
    };

    /// Blocks these signals for the calling thread and those that it starts, for good. They wait for the
    /// object.
    static void block();

    TerminationSignals(MainThread& mainThread, Action quit, const Timing& timing);
    TerminationSignals(MainThread& mainThread, Action quit)
        : TerminationSignals(mainThread, std::move(quit), Timing{}) {}

    /// Never runs: without a screen nothing comes to the front.
    void onDidBecomeActive(Action) override {}
    void onWillTerminate(Action action) override;

private:
    struct Actions;

    void watch(int end) const;
    int waitForSignal(int end, std::chrono::milliseconds longest) const;
    int waitForAnotherRequest(int end) const;
    void postTermination() const;

    MainThread& mainThread_;
    const Timing timing_;
    const std::shared_ptr<Actions> actions_; ///< touched on the main thread, but for its atomic
    const Descriptor signals_;               ///< delivers them
    const WatchThread thread_;
};

} // namespace vello
