// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/EQPreset.h"
#include "Models/EQSettings.h"
#include "Ports/MainThread.h"
#include "Ports/SystemLog.h"

#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vello {

/// Settings by source id.
using SettingsBySourceID = std::map<std::string, EQSettings, std::less<>>;

/// What the settings file holds.
struct StoredSettings {
    SettingsBySourceID sources;
    std::vector<UserEQPreset> userPresets; ///< in the order of the list

    friend bool operator==(const StoredSettings&, const StoredSettings&) = default;
};

/// Keeps the settings of the sources and the user's presets in the file settings.json of the application's
/// folder. It has no memory of its own: a save writes exactly what the caller hands in. Main thread only;
/// load, flush and a due save block for the disk. Failures are logged, never reported.
class SettingsStore {
public:
    /// `applicationSupportFolder` is the user's folder for the data of all applications. Touches no file.
    SettingsStore(const std::filesystem::path& applicationSupportFolder, MainThread& mainThread,
                  SystemLog& log);

    /// Empty when there is no file or it cannot be read. A file that cannot be understood, or of more than 64
    /// MiB, is moved aside to settings.json.corrupt unless there is one, and the result is empty. Entries and
    /// presets that have not exactly eight bands, and presets without a name, are dropped.
    StoredSettings load();
    /// Writes `settings` in 0.5 s, unless another save or flush comes first and takes its place.
    void scheduleSave(StoredSettings settings);
    /// Writes `settings` now, instead of what was scheduled.
    void flush(const StoredSettings& settings);

private:
    StoredSettings startFresh(std::string_view reason);
    void write(const StoredSettings& settings);

    const std::filesystem::path fileURL_;
    MainThread& mainThread_;
    const Logger logger_;
    TaskHandle saveTask_;
};

} // namespace vello
