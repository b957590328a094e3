// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/ConsentStore.h"

#include <functional>

namespace vello {

/// The user's consent to capturing other applications' audio. Main thread only, except for the completion of
/// request().
class CaptureAuthorization {
public:
    using Action = std::function<void()>;
    using Completion = std::function<void(bool isGranted)>;

    virtual ~CaptureAuthorization() = default;

    /// The last known answer, at once. Undecided also where this system has no such service.
    virtual Consent preflight() = 0;
    /// Asks the user. `completion` runs once, on any thread, when the user answers. It never runs if the user
    /// does not answer or the system cannot ask.
    virtual void request(Completion completion) = 0;
    /// Whether a question to the user is open, in a window of its own.
    virtual bool isAsking() const = 0;
    /// Opens the place where the user can change the consent.
    virtual void openSettings() = 0;
    /// `action` runs on the main thread, never inside another call, when the consent may have changed.
    /// Setting an action replaces the previous one.
    virtual void onDidChange(Action action) = 0;
};

} // namespace vello
