// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Published.h"
#include "Ports/ApplicationEvents.h"
#include "Ports/CaptureAuthorization.h"
#include "Ports/MainThread.h"

#include <memory>

namespace vello {

/// Whether the user allows the capture of other applications' sound. Main thread only.
class AudioCapturePermission {
public:
    enum class Status {
        unknown, ///< not decided yet, or this system has no such permission
        authorized,
        denied,
    };

    /// Reads the status, and again whenever the application becomes active or the system reports a change.
    /// All references outlive the object.
    AudioCapturePermission(CaptureAuthorization& authorization, ApplicationEvents& events,
                           MainThread& mainThread);
    ~AudioCapturePermission();
    AudioCapturePermission(const AudioCapturePermission&) = delete;
    AudioCapturePermission& operator=(const AudioCapturePermission&) = delete;

    const Published<Status>& status() const { return *status_; }

    void refresh();
    /// Asks the user; the answer becomes the status, if there is one.
    void request();
    /// Shows the user where the permission can be changed. The new status comes with a later refresh.
    void openSystemSettings();

private:
    CaptureAuthorization& authorization_;
    ApplicationEvents& events_;
    MainThread& mainThread_;
    /// Shared so that an answer that comes late finds out whether anybody still waits for it.
    std::shared_ptr<Published<Status>> status_ = std::make_shared<Published<Status>>(Status::unknown);
};

} // namespace vello
