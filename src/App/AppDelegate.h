// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "AudioEngine/Controller/AudioController.h"
#include "AudioEngine/Controller/MeterAudience.h"

#include <filesystem>

namespace vello {

/// The application as a whole: its model and the audience of the model's meters. Main thread only.
class AppDelegate {
public:
    /// Loads the settings and, if the user has allowed it, starts equalizing every application that plays.
    /// All ports must outlive the application. `applicationSupportFolder` is the user's data folder, shared
    /// by all applications.
    AppDelegate(const AudioControllerPorts& ports, const std::filesystem::path& applicationSupportFolder);

    AudioController& controller() { return controller_; }
    MeterAudience& meterAudience() { return meterAudience_; }

private:
    AudioController controller_;
    MeterAudience meterAudience_;
};

} // namespace vello
