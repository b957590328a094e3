// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/ApplicationEvents.h"

#include <utility>

namespace vello {

/// Events that the test fires.
class FakeApplicationEvents final : public ApplicationEvents {
public:
    void onDidBecomeActive(Action action) override { didBecomeActive_ = std::move(action); }
    void onWillTerminate(Action action) override { willTerminate_ = std::move(action); }

    void fireDidBecomeActive() const {
        if (didBecomeActive_)
            didBecomeActive_();
    }
    /// As the port promises, only the first call runs the action.
    void fireWillTerminate() {
        if (const auto action = std::exchange(willTerminate_, nullptr))
            action();
    }

private:
    Action didBecomeActive_;
    Action willTerminate_;
};

} // namespace vello
