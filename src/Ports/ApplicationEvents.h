// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

namespace vello {

/// Events of the application as a whole. Actions run on the main thread; setting one replaces the previous
/// one.
class ApplicationEvents {
public:
    using Action = std::function<void()>;

    virtual ~ApplicationEvents() = default;

    /// The application became the active one.
    virtual void onDidBecomeActive(Action action) = 0;
    /// The application is about to exit and exits when the action returns. Runs at most once.
    virtual void onWillTerminate(Action action) = 0;
};

} // namespace vello
