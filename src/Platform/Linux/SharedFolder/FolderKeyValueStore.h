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

/// Stores data under keys, one file each, in a folder that any program may synchronize with the user's other
/// machines.
///
/// Concurrent writes lose no data. Content that this store has not handed out yet survives a write as a copy
/// beside the file. data() hands out the copies before the file itself, one per call, and announces each as
/// an external change. A caller of setData() must have merged what data() returned before; copies of that
/// content are removed then. Incomplete files (another program is still writing them) are left alone.
///
/// Main thread only; the calls block on disk access. Write errors are logged.
class FolderKeyValueStore final : public KeyValueStore {
public:
    /// Whether `data` is a complete document.
    using IsComplete = bool (*)(std::string_view data);
    static bool isCompleteJSON(std::string_view data);

    /// `folder` is absolute; the first write creates it. The references must outlive the object.
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
    std::atomic<bool> isLookDue_ = false; ///< a check of the folder is queued on the main thread
    /// Lets actions queued on the main thread detect that this object is gone.
    std::shared_ptr<FolderKeyValueStore*> self_;
    std::unique_ptr<WatchThread> thread_;
};

/// The folder of the shared data: `chosen` (an option's value, may be relative), else $VELLO_SYNC_FOLDER,
/// else a folder below the user's data folder. Throws std::invalid_argument with a sentence for the user when
/// the variable is not an absolute path.
std::filesystem::path sharedFolder(const std::string& chosen, const Environment& environment);

} // namespace vello
