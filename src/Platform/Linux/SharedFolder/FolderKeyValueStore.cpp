// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/SharedFolder/FolderKeyValueStore.h"

#include "Foundation/Files.h"
#include "Foundation/Product.h"
#include "Platform/Linux/System/FolderWatch.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <functional>
#include <poll.h>
#include <stdexcept>
#include <sys/stat.h>
#include <utility>

namespace vello {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostMarkBytes = 64;

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

/// The key whose file has that name.
std::string keyOf(std::string_view name) {
    std::string key;
    for (; !name.empty(); name.remove_prefix(1)) {
        unsigned byte = 0;
        if (name[0] == '%' && name.size() >= 3 &&
            std::from_chars(name.data() + 1, name.data() + 3, byte, 16).ec == std::errc()) {
            key += static_cast<char>(byte);
            name.remove_prefix(2);
        } else {
            key += name[0];
        }
    }
    return key;
}

/// Calls `visit(path, name of the shared file)` for every file of the folder that is shared data or a copy.
template <class Visit> void forEachSharedFile(const fs::path& folder, Visit visit) {
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (const auto name = SharedFile::sharedName(entry->path().filename().string()))
            visit(entry->path(), *name);
}

std::size_t hashOf(std::string_view content) {
    return std::hash<std::string_view>()(content);
}

/// When the file got its place or content, which no program can choose, for a copy neither. Absent if it is
/// missing.
std::optional<std::string> timeOfPlacement(const fs::path& file) {
    struct stat status = {};
    if (::stat(file.c_str(), &status) != 0)
        return std::nullopt;
    return std::to_string(status.st_ctim.tv_sec) + "." + std::to_string(status.st_ctim.tv_nsec);
}

/// Beside the file, so that it is copied with it.
fs::path markOf(fs::path file) {
    return file += ".placed";
}

bool isVisible(std::string_view name) {
    return !name.starts_with('.');
}

} // namespace

bool FolderKeyValueStore::isCompleteJSON(std::string_view data) {
    return nlohmann::json::accept(data);
}

FolderKeyValueStore::FolderKeyValueStore(Folders folders, MainThread& mainThread, SystemLog& log,
                                         IsComplete isComplete)
    : folders_(std::move(folders)), mainThread_(mainThread),
      logger_(log, kBundleIdentifier, "FolderKeyValueStore"), isComplete_(isComplete),
      self_(std::make_shared<FolderKeyValueStore*>(this)) {}

FolderKeyValueStore::~FolderKeyValueStore() = default;

bool FolderKeyValueStore::isAsked(std::string_view name) const {
    return names_.contains(name) || std::ranges::any_of(prefixes_, [&](const std::string& prefix) {
               return name.starts_with(prefix);
           });
}

std::vector<std::string> FolderKeyValueStore::keys(std::string_view prefix) {
    const std::string start = fileName(prefix);
    prefixes_.insert(start);
    std::set<std::string> found;
    forEachSharedFile(folders_.shared, [&](const fs::path&, const std::string& name) {
        if (name.starts_with(start))
            found.insert(keyOf(name));
    });
    // Nobody asks for those that are gone, so they would differ from what is known again and again.
    std::erase_if(known_, [&](const auto& entry) {
        const auto name = SharedFile::sharedName(entry.first);
        return name && name->starts_with(start) && !found.contains(keyOf(*name));
    });
    return {found.begin(), found.end()};
}

std::vector<KeyValueStore::Version> FolderKeyValueStore::versions(std::string_view key) {
    const SharedFile file(folders_.shared, fileName(key));
    names_.insert(file.name());
    remember(file);
    std::vector<Version> versions;
    for (SharedFile::Copy& copy : file.copies())
        versions.push_back({std::move(copy.content), true});
    if (auto content = file.read())
        versions.push_back({std::move(*content), false});
    std::erase_if(versions, [this](const Version& version) { return !isComplete_(version.data); });
    return versions;
}

/// What is read after this call is at least as new, so a change in between is announced.
void FolderKeyValueStore::remember(const SharedFile& file) {
    std::erase_if(known_,
                  [&](const auto& entry) { return SharedFile::sharedName(entry.first) == file.name(); });
    for (const SharedFile::Copy& copy : file.copies())
        known_[copy.file.filename().string()] = hashOf(copy.content);
    if (const auto content = file.read())
        known_[file.name()] = hashOf(*content);
}

std::optional<std::string> FolderKeyValueStore::setData(std::string_view key, std::string_view data,
                                                        std::span<const Version> merged) {
    SharedFile file(folders_.shared, fileName(key));
    names_.insert(file.name());
    try {
        createPrivateFolder(folders_.shared);
        const SharedFolderLock lock(folders_.shared);
        replace(file, data, merged);
        return std::nullopt;
    } catch (const std::exception& error) {
        return error.what();
    }
}

void FolderKeyValueStore::replace(SharedFile& file, std::string_view data, std::span<const Version> merged) {
    const auto isMerged = [&](const std::string& content) {
        return content == data || std::ranges::find(merged, content, &Version::data) != merged.end();
    };
    if (file.read() != data)
        file.replace(data, isMerged);
    known_[file.name()] = hashOf(data);
    for (const SharedFile::Copy& copy : file.copies())
        if (isMerged(copy.content)) {
            SharedFile::remove(copy);
            known_.erase(copy.file.filename().string());
        }
    file.removeLeftovers();
}

std::optional<KeyValueStore::LocalData> FolderKeyValueStore::localData(std::string_view key) {
    const fs::path file = folders_.local / fileName(key);
    auto data = readFile(file, SharedFile::mostBytes);
    if (!data)
        return std::nullopt;
    return LocalData{std::move(*data), readFile(markOf(file), kMostMarkBytes) != timeOfPlacement(file)};
}

std::optional<std::string> FolderKeyValueStore::setLocalData(std::string_view key, std::string_view data) {
    try {
        createPrivateFolder(folders_.local);
        const fs::path file = folders_.local / fileName(key);
        writeFileAtomically(file, data);
        writeFileAtomically(markOf(file), timeOfPlacement(file).value_or(""));
        return std::nullopt;
    } catch (const std::exception& error) {
        return error.what();
    }
}

void FolderKeyValueStore::synchronize() {
    announceChanges();
}

void FolderKeyValueStore::onDidChangeExternally(Action action) {
    action_ = std::move(action);
    if (!thread_)
        thread_ = std::make_unique<WatchThread>([this](int end) { watch(end); });
}

FolderKeyValueStore::Contents FolderKeyValueStore::currentContents() const {
    Contents contents;
    forEachSharedFile(folders_.shared, [&](const fs::path& file, const std::string& name) {
        if (isAsked(name))
            if (const auto content = readFile(file, SharedFile::mostBytes))
                contents[file.filename().string()] = hashOf(*content);
    });
    return contents;
}

void FolderKeyValueStore::announceChanges() {
    if (currentContents() != known_)
        announce();
}

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
    FolderWatch watch(folders_.shared, isVisible);
    const auto look = [this, self = std::weak_ptr(self_)] {
        if (isLookDue_.exchange(true))
            return;
        mainThread_.post([self] {
            if (const auto alive = self.lock()) {
                (*alive)->isLookDue_ = false;
                (*alive)->announceChanges();
            }
        });
    };
    if (watch.descriptor() < 0)
        logger_.error("This system cannot watch more folders: changes of " + folders_.shared.string() +
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

fs::path localFolder(const Environment& environment) {
    // The machine's identifier itself must not be handed out, so the name is made of a hash.
    const auto machine = readFile("/etc/machine-id", 64);
    char name[32];
    std::snprintf(name, sizeof name, "machine-%016zx", hashOf(machine.value_or("")));
    return userStateFolder(environment) / kApplicationFolder / name;
}

} // namespace vello
