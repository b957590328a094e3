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
#include "Platform/Linux/System/TerminationSignals.h"
#include "Platform/Linux/System/UserFolders.h"
#include "Platform/Qt/QtMainThread.h"

#include <optional>
#include <string>
#include <vector>

namespace vello {

/// The application on the adapters of Linux, with its place on the session bus: what VELLO is with a screen
/// and without one. Main thread only; there is a QCoreApplication, whose event loop ends when the process is
/// asked to end.
class LinuxApplication {
public:
    struct Options {
        std::string syncFolder; ///< of the shared presets; empty: the user's usual one
        /// The command that puts the question for the consent.
        std::vector<std::string> consentQuestion = LinuxCaptureAuthorization::ownQuestion();
    };

    /// Begins to equalize, as far as the user allows it. Throws AlreadyRunning when another instance has the
    /// name on the bus, before anything is touched, and std::exception with a sentence.
    /// `guard` outlives the application.
    LinuxApplication(PipeWireRedirectGuard& guard, const Options& options);

    /// Takes the name and the calls of others. An empty `showPanel`: there is no panel. Once. Throws
    /// AlreadyRunning.
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
    JournalSystemLog log_;
    PipeWireAudioHardware hardware_;
    DesktopRunningApplications applications_;
    LinuxCaptureAuthorization authorization_;
    FolderKeyValueStore shared_;
    BusPresence presence_;
    AppDelegate delegate_;
    std::optional<ControlService> service_;
};

} // namespace vello
