// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

namespace vello {

/// What happens to the application as a whole. Each action runs on the main thread; setting one replaces the
/// last.
class ApplicationEvents {
public:
    using Action = std::function<void()>;

    virtual ~ApplicationEvents() = default;

    /// The application came to the front.
    virtual void onDidBecomeActive(Action action) = 0;
    /// The application is about to end; it ends when the action has returned. Runs at most once.
    virtual void onWillTerminate(Action action) = 0;
};

} // namespace vello
