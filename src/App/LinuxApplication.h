// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "App/AppDelegate.h"
#include "Control/Bus/BusPresence.h"
#include "Control/Bus/ControlService.h"
#include "Platform/Linux/Applications/DesktopRunningApplications.h"
#include "Platform/Linux/Consent/LinuxCaptureAuthorization.h"
#include "Platform/Linux/PipeWire/PipeWireAudioHardware.h"
#include "Platform/Linux/PipeWire/PipeWireRedirectGuard.h"
#include "Platform/Linux/SharedFolder/FolderKeyValueStore.h"
#include "Platform/Linux/System/JournalSystemLog.h"
#include "Platform/Linux/System/RecentErrors.h"
#include "Platform/Linux/System/ServiceNotifier.h"
#include "Platform/Linux/System/TerminationSignals.h"
#include "Platform/Linux/System/UserFolders.h"
#include "Platform/Qt/QtMainThread.h"

#include <optional>
#include <string>
#include <vector>

namespace vello {

/// The application on the adapters of Linux, including its name on the session bus, with or without a screen.
/// Main thread only. Requires a QCoreApplication, whose event loop ends when the process receives a
/// termination signal.
class LinuxApplication {
public:
    struct Options {
        std::string syncFolder; ///< folder of the shared presets; empty: the user's default one
        /// The command that asks the user for consent.
        std::vector<std::string> consentQuestion = LinuxCaptureAuthorization::ownQuestion();
    };

    /// Starts equalizing, as far as the user allows it. Throws AlreadyRunning before it changes anything when
    /// another instance owns the bus name, and std::exception with a sentence for the user. `guard` must
    /// outlive the application.
    LinuxApplication(PipeWireRedirectGuard& guard, const Options& options);

    /// Takes the bus name and serves calls; the service manager, if any, learns that VELLO is ready once the
    /// event loop runs. An empty `showPanel` means that there is no panel. Call once. Throws AlreadyRunning.
    void publish(ControlService::ShowPanelAction showPanel);

    AudioController& controller() { return delegate_.controller(); }
    MeterAudience& meterAudience() { return delegate_.meterAudience(); }
    MainThread& mainThread() { return mainThread_; }
    SystemLog& log() { return log_; }
    RunningApplications& runningApplications() { return applications_; }
    CaptureAuthorization& captureAuthorization() { return authorization_; }

private:
    const Environment environment_;
    QtMainThread mainThread_;
    TerminationSignals termination_;
    JournalSystemLog systemLog_;
    RecentErrors log_{systemLog_};
    PipeWireAudioHardware hardware_;
    DesktopRunningApplications applications_;
    LinuxCaptureAuthorization authorization_;
    FolderKeyValueStore shared_;
    BusPresence presence_;
    AppDelegate delegate_;
    std::optional<ControlService> service_;
    ServiceNotifier notifier_;
};

} // namespace vello
