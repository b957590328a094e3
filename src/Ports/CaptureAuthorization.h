// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <optional>

namespace vello {

/// The user's consent to the capture of other applications' sound. Main thread only, but for the completion
/// of request().
class CaptureAuthorization {
public:
    using Action = std::function<void()>;
    using Completion = std::function<void(bool isGranted)>;

    virtual ~CaptureAuthorization() = default;

    /// 0: allowed. 1: denied. Any other value: not decided yet. Nothing: this system has no such service.
    virtual std::optional<int> preflight() = 0;
    /// Asks the user. `completion` runs once, on any thread, when there is an answer; it never runs when the
    /// user gave none, or where the system cannot ask.
    virtual void request(Completion completion) = 0;
    /// Shows the user where the consent can be changed.
    virtual void openSettings() = 0;
    /// Runs on the main thread, never inside another call, when the consent may have changed. Setting an
    /// action replaces the last.
    virtual void onDidChange(Action action) = 0;
};

} // namespace vello
