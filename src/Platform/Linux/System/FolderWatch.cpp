// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/FolderWatch.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <system_error>

namespace vello {
namespace {

namespace fs = std::filesystem;

constexpr std::uint32_t kGone = IN_DELETE_SELF | IN_MOVE_SELF;
constexpr std::uint32_t kNames = IN_CREATE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE;
/// How often the way to the folder may change while it is being looked at.
constexpr int kMostAttempts = 10;

bool isLink(const fs::path& file) {
    std::error_code ignored;
    return fs::is_symlink(fs::symlink_status(file, ignored));
}

bool isFolder(const fs::path& file) {
    std::error_code ignored;
    return fs::is_directory(file, ignored);
}

} // namespace

FolderWatch::FolderWatch(fs::path folder, Matters matters)
    : folder_(std::move(folder)), matters_(std::move(matters)),
      mounts_(::open("/proc/self/mountinfo", O_RDONLY | O_CLOEXEC)), poll_(::epoll_create1(EPOLL_CLOEXEC)) {
    epoll_event mount{.events = EPOLLPRI, .data = {}};
    ::epoll_ctl(poll_.number(), EPOLL_CTL_ADD, mounts_.number(), &mount);
    watchPlaces();
}

/// The folders on the way as far as it exists. Those that only lead on are watched for their own end; new
/// names count where the next step is missing, or a link that may come to lead elsewhere.
std::vector<FolderWatch::Place> FolderWatch::places() const {
    std::vector<Place> places;
    fs::path way;
    for (const fs::path& step : folder_) {
        if (step.empty()) // a slash at the end
            continue;
        const fs::path next = way / step;
        if (!places.empty() && (isLink(next) || !isFolder(next)))
            places.back().second |= kNames;
        if (!isFolder(next))
            return places;
        places.emplace_back(next, kGone);
        way = next;
    }
    if (!places.empty())
        places.back().second |= kNames | IN_CLOSE_WRITE;
    return places;
}

void FolderWatch::watchPlaces() {
    for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
        const auto watched = places();
        identity_ = identity();
        if (!addWatches(watched) || places() == watched)
            break;
    }
    isMoved_ = false;
}

/// False when nothing can be watched.
bool FolderWatch::addWatches(const std::vector<Place>& places) {
    events_ = Descriptor(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    folderWatch_ = -1;
    bool isLimitReached = !events_.isOpen();
    for (const auto& [folder, events] : places) {
        // One that may not be read stays unwatched: it is rarely the one that changes.
        const int watch = ::inotify_add_watch(events_.number(), folder.c_str(), events | IN_ONLYDIR);
        if (folder == places.back().first && (events & IN_CLOSE_WRITE) != 0)
            folderWatch_ = watch;
        isLimitReached = isLimitReached || (watch < 0 && errno == ENOSPC);
    }
    if (isLimitReached) {
        events_ = Descriptor();
        return false;
    }
    epoll_event event{.events = EPOLLIN, .data = {}};
    ::epoll_ctl(poll_.number(), EPOLL_CTL_ADD, events_.number(), &event);
    return true;
}

bool FolderWatch::takeChanges() {
    // Seeing a change of the mounts in the poll also acknowledges it: what it meant shows in the identity.
    std::array<epoll_event, 2> ignored{};
    ::epoll_wait(poll_.number(), ignored.data(), static_cast<int>(ignored.size()), 0);
    bool isChanged = false;
    alignas(inotify_event) std::array<char, 16'384> buffer;
    ssize_t size = 0;
    while ((size = ::read(events_.number(), buffer.data(), buffer.size())) > 0)
        for (const char* at = buffer.data(); at < buffer.data() + size;) {
            const auto& event = *reinterpret_cast<const inotify_event*>(at);
            at += sizeof event + event.len;
            if (!isOfTheFolder(event))
                isMoved_ = true;
            else if (matters_(event.len == 0 ? "" : event.name))
                isChanged = true;
        }
    if (!isMoved_ && identity() == identity_)
        return isChanged;
    watchPlaces();
    return true;
}

/// Whether it is about a file in the folder. Everything else means that the way has to be walked anew.
bool FolderWatch::isOfTheFolder(const inotify_event& event) const {
    constexpr std::uint32_t lost = kGone | IN_IGNORED | IN_UNMOUNT | IN_Q_OVERFLOW;
    return event.wd == folderWatch_ && (event.mask & lost) == 0;
}

FolderWatch::Identity FolderWatch::identity() const {
    struct stat status = {};
    return ::stat(folder_.c_str(), &status) == 0 ? Identity{status.st_dev, status.st_ino} : Identity{};
}

} // namespace vello
