// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Descriptor.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <sys/types.h>

struct inotify_event;

namespace vello {

/// Notices changes of the files in a folder, by writing, renaming and removing. The folder may not exist yet,
/// be moved away, deleted and made again, mounted and unmounted: the watch stays with the name. It sees what
/// happens on this machine; on a network mount not what others do.
///
/// One thread at a time. Blocks for the disk.
class FolderWatch {
public:
    /// Whether a change of the file of that name counts.
    using Matters = std::function<bool(std::string_view name)>;

    /// `folder` is absolute. What happens from now on is noticed.
    FolderWatch(std::filesystem::path folder, Matters matters);

    /// To be polled for reading, always the same one. Negative when this system cannot watch any more (its
    /// limits are reached), which may happen later as well.
    int descriptor() const { return events_.isOpen() ? poll_.number() : -1; }
    /// After the descriptor was readable: whether a file that matters may have changed since the last time.
    bool takeChanges();

private:
    /// An existing folder and the events that are watched there.
    using Place = std::pair<std::filesystem::path, std::uint32_t>;
    using Identity = std::pair<dev_t, ino_t>;

    std::vector<Place> places() const;
    void watchPlaces();
    bool addWatches(const std::vector<Place>& places);
    bool isOfTheFolder(const inotify_event& event) const;
    Identity identity() const;

    const std::filesystem::path folder_;
    const Matters matters_;
    const Descriptor mounts_;
    const Descriptor poll_; ///< of the two others
    Descriptor events_;
    int folderWatch_ = -1;
    Identity identity_ = {};
    bool isMoved_ = false; ///< a folder of the way is not what it was
};

} // namespace vello
