// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/SharedFolder/SharedFile.h"
#include "Platform/Linux/System/UserFolders.h"
#include "Platform/Linux/System/WatchThread.h"
#include "Ports/KeyValueStore.h"
#include "Ports/MainThread.h"
#include "Ports/SystemLog.h"

#include <atomic>
#include <filesystem>
#include <map>
#include <memory>
#include <set>

namespace vello {

/// Stores data under keys, one file each, in a folder that any program may synchronize with the user's other
/// machines, and the data of this machine in another folder.
///
/// Incomplete files (another program is still writing them) are left alone. Main thread only; the calls block
/// on disk access.
class FolderKeyValueStore final : public KeyValueStore {
public:
    /// Whether `data` is a complete document.
    using IsComplete = bool (*)(std::string_view data);
    static bool isCompleteJSON(std::string_view data);

    struct Folders {
        std::filesystem::path shared; ///< both are absolute; the first write creates them
        std::filesystem::path local;
    };

    /// The references must outlive the object.
    FolderKeyValueStore(Folders folders, MainThread& mainThread, SystemLog& log,
                        IsComplete isComplete = isCompleteJSON);
    ~FolderKeyValueStore() override;

    std::vector<std::string> keys(std::string_view prefix) override;
    std::vector<Version> versions(std::string_view key) override;
    std::optional<std::string> setData(std::string_view key, std::string_view data,
                                       std::span<const Version> merged) override;
    std::optional<LocalData> localData(std::string_view key) override;
    std::optional<std::string> setLocalData(std::string_view key, std::string_view data) override;
    void synchronize() override;
    void onDidChangeExternally(Action action) override;

private:
    /// Hashes of contents by file name.
    using Contents = std::map<std::string, std::size_t, std::less<>>;

    bool isAsked(std::string_view name) const;
    void replace(SharedFile& file, std::string_view data, std::span<const Version> merged);
    void remember(const SharedFile& file);
    Contents currentContents() const;
    void announceChanges();
    void announce();
    void watch(int end);

    const Folders folders_;
    MainThread& mainThread_;
    const Logger logger_;
    const IsComplete isComplete_;
    std::set<std::string, std::less<>> names_;    ///< of the files that somebody has asked for
    std::set<std::string, std::less<>> prefixes_; ///< of such files
    Contents known_;                              ///< as last read or written
    Action action_;
    bool isAnnounced_ = false;
    std::atomic<bool> isLookDue_ = false; ///< a check of the folder is queued on the main thread
    /// Lets actions queued on the main thread detect that this object is gone.
    std::shared_ptr<FolderKeyValueStore*> self_;
    std::unique_ptr<WatchThread> thread_;
};

/// The folder of the shared data: `chosen` (an option's value, may be relative), else $VELLO_SYNC_FOLDER,
/// else a folder below the user's data folder. Throws std::invalid_argument with a sentence for the user when
/// the variable is not an absolute path.
std::filesystem::path sharedFolder(const std::string& chosen, const Environment& environment);

/// The folder of what belongs to this machine alone. It is not below the user's data folder, and its name
/// depends on the machine: a copy of the home folder on another machine does not continue it.
std::filesystem::path localFolder(const Environment& environment);

} // namespace vello
