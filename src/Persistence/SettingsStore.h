// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Files.h"
#include "Foundation/Published.h"
#include "Persistence/RetryDelay.h"
#include "Persistence/SaveProblem.h"
#include "Persistence/SettingsLock.h"
#include "Persistence/StoredSettings.h"
#include "Ports/MainThread.h"
#include "Ports/SystemLog.h"

#include <filesystem>
#include <optional>

namespace vello {

/// Stores the settings of the sources and the user's presets in settings.json in the application's folder.
/// Main thread only; load(), flush() and a scheduled save block on disk I/O.
///
/// The file is written only when what the caller passes differs from what was loaded or last written. When
/// somebody else has changed the file meanwhile, only what was changed here is changed there. A file that
/// cannot be read or decoded is moved aside before a new one takes its place; nothing is destroyed. One
/// process writes the settings of a home at a time (SettingsLock).
///
/// A save that fails is logged, published as a problem, and tried again 1, 2, 4 and so on up to 60 s later.
class SettingsStore {
public:
    /// `applicationSupportFolder` is the user's folder for the data of all applications. Does not access the
    /// disk.
    SettingsStore(const std::filesystem::path& applicationSupportFolder, MainThread& mainThread,
                  SystemLog& log);

    /// Returns empty settings when the file is missing, cannot be read, cannot be decoded or is larger than
    /// 64 MiB. In the last two cases the file is renamed to settings.json.corrupt; an earlier file of that
    /// name gets a number. Entries and presets that do not have exactly eight bands, and presets without a
    /// name, are dropped.
    StoredSettings load();
    /// Saves `settings` after 0.5 s, unless a later scheduleSave() or flush() replaces this save.
    void scheduleSave(StoredSettings settings);
    /// Saves `settings` now and cancels a scheduled save. On failure problem() says why.
    void flush(const StoredSettings& settings);

    /// Why what was passed last is not on disk, or what is there is not in use; nullopt while all is well.
    const Published<std::optional<SaveProblem>>& problem() const { return problem_; }

private:
    struct Found;

    Found find() const;
    bool takeOwnership();
    void requireOwnership();
    void save();
    void retry();
    std::optional<SaveProblem> savePending();
    void retryLater(const SaveProblem& problem);
    void write(const StoredSettings& settings);
    void keepAside(const Found& found) const;

    const std::filesystem::path fileURL_;
    MainThread& mainThread_;
    const Logger logger_;
    SettingsLock lock_;
    std::optional<StoredSettings> known_;   ///< as loaded or last passed to a successful save
    std::optional<FileStamp> knownStamp_;   ///< of the file at that time; absent: nothing of use was there
    std::optional<StoredSettings> pending_; ///< not saved yet
    std::optional<SaveProblem> unread_;     ///< why the file that is there could not be loaded
    Published<std::optional<SaveProblem>> problem_;
    RetryDelay retryDelay_;
    TaskHandle saveTask_; ///< a scheduled save or a retry
};

} // namespace vello
