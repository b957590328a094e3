// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Published.h"
#include "Ports/ApplicationEvents.h"
#include "Ports/CaptureAuthorization.h"
#include "Ports/MainThread.h"

#include <memory>

namespace vello {

/// Whether the user allows capturing other applications' audio. Main thread only.
class AudioCapturePermission {
public:
    enum class Status {
        unknown, ///< not decided yet, or this system has no such permission
        authorized,
        denied,
    };

    /// Reads the status, and reads it again whenever the application becomes active or the system reports a
    /// change. All references must outlive the object.
    AudioCapturePermission(CaptureAuthorization& authorization, ApplicationEvents& events,
                           MainThread& mainThread);
    ~AudioCapturePermission();
    AudioCapturePermission(const AudioCapturePermission&) = delete;
    AudioCapturePermission& operator=(const AudioCapturePermission&) = delete;

    const Published<Status>& status() const { return *status_; }

    void refresh();
    /// Asks the user. If the user answers, the answer becomes the status.
    void request();
    /// Whether the question is open now.
    bool isAsking() const { return authorization_.isAsking(); }
    /// Opens the place where the user can change the permission. A later refresh picks up the new status.
    void openSystemSettings();

private:
    CaptureAuthorization& authorization_;
    ApplicationEvents& events_;
    MainThread& mainThread_;
    /// Shared, so that a late answer can detect that this object is gone.
    std::shared_ptr<Published<Status>> status_ = std::make_shared<Published<Status>>(Status::unknown);
};

} // namespace vello
