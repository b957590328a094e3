// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/SharedFolder/FolderKeyValueStore.h"

#include "Foundation/Files.h"
#include "Foundation/Product.h"
#include "Platform/Linux/System/FolderWatch.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <poll.h>
#include <stdexcept>
#include <utility>

namespace vello {
namespace {

namespace fs = std::filesystem;

/// Number of contents remembered as handed out. A forgotten content is only handed out again if a copy of it
/// exists.
constexpr std::size_t kMostRemembered = 32;

/// A safe file name for any key: letters and digits stay, every other byte becomes "%" and two hexadecimal
/// digits.
std::string fileName(std::string_view key) {
    std::string name;
    for (const char character : key) {
        const auto byte = static_cast<unsigned char>(character);
        char escaped[4];
        std::snprintf(escaped, sizeof escaped, "%%%02X", static_cast<unsigned>(byte));
        const bool isPlain =
            (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9');
        name += isPlain ? std::string(1, character) : escaped;
    }
    return name;
}

bool isVisible(std::string_view name) {
    return !name.starts_with('.');
}

} // namespace

/// State of one key.
struct FolderKeyValueStore::Entry {
    SharedFile file;
    std::deque<std::string> seen = {}; ///< handed out or set, the latest last
    /// A copy was handed out after the file. The file takes precedence, so it must be handed out again.
    bool isFileDue = false;

    bool hasSeen(const std::string& content) const { return std::ranges::find(seen, content) != seen.end(); }
    void remember(std::string content) {
        std::erase(seen, content);
        seen.push_back(std::move(content));
        if (seen.size() > kMostRemembered)
            seen.pop_front();
    }
};

/// Content that has not been handed out yet.
struct FolderKeyValueStore::Unseen {
    std::string content;
    bool isCopy;
};

bool FolderKeyValueStore::isCompleteJSON(std::string_view data) {
    return nlohmann::json::accept(data);
}

FolderKeyValueStore::FolderKeyValueStore(fs::path folder, MainThread& mainThread, SystemLog& log,
                                         IsComplete isComplete)
    : folder_(std::move(folder)), mainThread_(mainThread),
      logger_(log, kBundleIdentifier, "FolderKeyValueStore"), isComplete_(isComplete),
      self_(std::make_shared<FolderKeyValueStore*>(this)) {}

FolderKeyValueStore::~FolderKeyValueStore() = default;

FolderKeyValueStore::Entry& FolderKeyValueStore::entry(std::string_view key) {
    const auto known = entries_.find(key);
    if (known != entries_.end())
        return known->second;
    return entries_.emplace(key, Entry{SharedFile(folder_, fileName(key))}).first->second;
}

std::optional<FolderKeyValueStore::Unseen> FolderKeyValueStore::firstUnseen(const Entry& entry) const {
    for (SharedFile::Copy& copy : entry.file.copies())
        if (isComplete_(copy.content) && !entry.hasSeen(copy.content))
            return Unseen{std::move(copy.content), true};
    auto content = entry.file.read();
    if (content && isComplete_(*content) && (entry.isFileDue || !entry.hasSeen(*content)))
        return Unseen{std::move(*content), false};
    return std::nullopt;
}

std::optional<std::string> FolderKeyValueStore::data(std::string_view key) {
    Entry& known = entry(key);
    if (auto unseen = firstUnseen(known)) {
        known.remember(unseen->content);
        known.isFileDue = unseen->isCopy;
        if (firstUnseen(known))
            announce();
        return std::move(unseen->content);
    }
    auto content = known.file.read();
    return content && isComplete_(*content) ? std::move(content) : std::nullopt;
}

void FolderKeyValueStore::setData(std::string_view key, std::string_view data) {
    Entry& known = entry(key);
    known.remember(std::string(data));
    try {
        createPrivateFolder(folder_);
        const SharedFolderLock lock(folder_);
        if (known.file.read() != data)
            known.file.replace(data);
        for (const SharedFile::Copy& copy : known.file.copies())
            if (known.hasSeen(copy.content))
                SharedFile::remove(copy);
        known.file.removeLeftovers();
    } catch (const std::exception& error) {
        logger_.error(std::string("Failed to share data: ").append(error.what()));
    }
    if (firstUnseen(known))
        announce();
}

void FolderKeyValueStore::synchronize() {
    announceUnseen();
}

void FolderKeyValueStore::onDidChangeExternally(Action action) {
    action_ = std::move(action);
    if (!thread_)
        thread_ = std::make_unique<WatchThread>([this](int end) { watch(end); });
}

void FolderKeyValueStore::announceUnseen() {
    if (std::ranges::any_of(entries_,
                            [this](const auto& each) { return firstUnseen(each.second).has_value(); }))
        announce();
}

/// Posts one notice, however many contents there are: each data() announces the remaining contents of its
/// key.
void FolderKeyValueStore::announce() {
    if (!action_ || std::exchange(isAnnounced_, true))
        return;
    mainThread_.post([weak = std::weak_ptr(self_)] {
        const auto self = weak.lock();
        if (!self)
            return;
        (*self)->isAnnounced_ = false;
        if (const Action action = (*self)->action_)
            action();
    });
}

void FolderKeyValueStore::watch(int end) {
    FolderWatch watch(folder_, isVisible);
    const auto look = [this, self = std::weak_ptr(self_)] {
        if (isLookDue_.exchange(true))
            return;
        mainThread_.post([self] {
            if (const auto alive = self.lock()) {
                (*alive)->isLookDue_ = false;
                (*alive)->announceUnseen();
            }
        });
    };
    if (watch.descriptor() < 0)
        logger_.error("This system cannot watch more folders: changes of " + folder_.string() +
                      " are seen at the next start only");
    look(); // picks up changes from before the watch began
    for (;;) {
        std::array<pollfd, 2> events{{{end, POLLIN, 0}, {watch.descriptor(), POLLIN, 0}}};
        if (::poll(events.data(), events.size(), -1) > 0 && events[0].revents != 0)
            return;
        if (events[1].revents != 0 && watch.takeChanges())
            look();
    }
}

fs::path sharedFolder(const std::string& chosen, const Environment& environment) {
    if (!chosen.empty())
        return fs::absolute(chosen);
    const char* variable = environment("VELLO_SYNC_FOLDER");
    if (variable == nullptr || *variable == '\0')
        return userDataFolder(environment) / kApplicationFolder / "Sync";
    const fs::path folder = variable;
    if (!folder.is_absolute())
        throw std::invalid_argument(std::string("VELLO_SYNC_FOLDER is not the absolute path of a folder: \"")
                                        .append(variable)
                                        .append("\"; give one that begins with a slash, or unset it"));
    return folder;
}

} // namespace vello
