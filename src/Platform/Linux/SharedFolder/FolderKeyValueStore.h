// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/Linux/SharedFolder/SharedFile.h"
#include "Platform/Linux/System/UserFolders.h"
#include "Platform/Linux/System/WatchThread.h"
#include "Ports/KeyValueStore.h"
#include "Ports/MainThread.h"
#include "Ports/SystemLog.h"

#include <atomic>
#include <deque>
#include <filesystem>
#include <map>
#include <memory>

namespace vello {

/// Data under keys, a file each, in a folder that any program may carry to the user's other machines.
///
/// Nothing is lost when several write at once: content that this store has not handed out yet survives a
/// write as a copy beside the file, and is handed out by data() before the file itself, one after another,
/// each announced as an external change. Whoever sets data has taken in what data() gave before; copies of
/// that are removed then. Files that are not complete (a program is still writing them) are left alone.
///
/// Main thread only; the calls block for the disk. What cannot be written is logged.
class FolderKeyValueStore final : public KeyValueStore {
public:
    /// Whether bytes are all of what someone wrote.
    using IsComplete = bool (*)(std::string_view data);
    static bool isCompleteJSON(std::string_view data);

    /// `folder` is absolute; it is made by the first write. References outlive the object.
    FolderKeyValueStore(std::filesystem::path folder, MainThread& mainThread, SystemLog& log,
                        IsComplete isComplete = isCompleteJSON);
    ~FolderKeyValueStore() override;

    std::optional<std::string> data(std::string_view key) override;
    void setData(std::string_view key, std::string_view data) override;
    void synchronize() override;
    void onDidChangeExternally(Action action) override;

private:
    struct Entry;
    struct Unseen;
    struct Shared;

    Entry& entry(std::string_view key);
    std::optional<Unseen> firstUnseen(const Entry& entry) const;
    void announceUnseen();
    void announce();
    void watch(int end);

    const std::filesystem::path folder_;
    MainThread& mainThread_;
    const Logger logger_;
    const IsComplete isComplete_;
    std::map<std::string, Entry, std::less<>> entries_;
    Action action_;
    bool isAnnounced_ = false;
    std::atomic<bool> isLookDue_ = false; ///< a look at the folder is on its way to the main thread
    /// What waits on the main thread finds out through it that this object is gone.
    std::shared_ptr<FolderKeyValueStore*> self_;
    std::unique_ptr<WatchThread> thread_;
};

/// The folder of the shared data: `chosen` (an option's value, may be relative), else $VELLO_SYNC_FOLDER,
/// else a folder of the application's below the user's data folder. Throws std::invalid_argument with a
/// sentence for a variable that is no absolute path.
std::filesystem::path syncFolder(const std::string& chosen, const Environment& environment);

} // namespace vello
