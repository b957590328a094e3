// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/AudioProcessMonitor.h"
#include "AudioEngine/TapCoordinator.h"
#include "AudioEngine/TapTeardownQueue.h"
#include "Persistence/SettingsStore.h"
#include "Platform/ApplicationEvents.h"
#include "Platform/AudioHardware.h"
#include "Platform/MainThread.h"
#include "Platform/RunningApplications.h"
#include "Platform/SystemLog.h"

#include <filesystem>
#include <string>

namespace vello {

/// What the application is made on: one adapter for each port.
struct Platform {
    AudioHardware& audioHardware;
    MainThread& mainThread;
    RunningApplications& runningApplications;
    ApplicationEvents& applicationEvents;
    SystemLog& systemLog;
};

/// The application as a whole: makes its parts, connects them and ends them. Main thread only.
class AppDelegate {
public:
    /// Everything of `platform` outlives the application. `applicationSupportFolder` is the user's folder for
    /// the data of all applications.
    AppDelegate(const Platform& platform, const std::filesystem::path& applicationSupportFolder);

    /// Loads the settings and begins to equalize whatever plays. Once.
    void start();

private:
    EQSettings settings(const std::string& sourceID) const;
    void willTerminate();

    TapTeardownQueue teardownQueue_;
    SettingsStore settingsStore_;
    StoredSettings settings_;
    TapCoordinator coordinator_;
    AudioProcessMonitor monitor_;
    ApplicationEvents& events_;
};

} // namespace vello
