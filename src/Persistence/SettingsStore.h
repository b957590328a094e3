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

/// The content of the settings file.
struct StoredSettings {
    SettingsBySourceID sources;
    std::vector<UserEQPreset> userPresets; ///< in the order of the list

    friend bool operator==(const StoredSettings&, const StoredSettings&) = default;
};

/// Stores the settings of the sources and the user's presets in settings.json in the application's folder. It
/// caches nothing: a save writes exactly what the caller passes. Main thread only; load(), flush() and a
/// scheduled save block on disk I/O. Failures are logged, never reported.
class SettingsStore {
public:
    /// `applicationSupportFolder` is the user's folder for the data of all applications. Does not access the
    /// disk.
    SettingsStore(const std::filesystem::path& applicationSupportFolder, MainThread& mainThread,
                  SystemLog& log);

    /// Returns empty settings when the file is missing, cannot be read, cannot be decoded or is larger than
    /// 64 MiB. In the last two cases the file is renamed to settings.json.corrupt, unless that file exists.
    /// Entries and presets that do not have exactly eight bands, and presets without a name, are dropped.
    StoredSettings load();
    /// Writes `settings` after 0.5 s, unless a later scheduleSave() or flush() replaces this save.
    void scheduleSave(StoredSettings settings);
    /// Writes `settings` now and cancels a scheduled save.
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
