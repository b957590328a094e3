// SPDX-License-Identifier: Apache-2.0
#include "Foundation/ReplacingFile.h"

#include "FailedCall.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vello {

namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40;

/// Where the name leads to, links followed, also to a place that does not exist yet; a device or folder there
/// is not to be replaced.
fs::path finalPlace(fs::path file) {
    for (int links = 0; fs::is_symlink(fs::symlink_status(file)); ++links) {
        if (links == kMostLinks)
            fail("cannot follow " + file.string(), ELOOP);
        file = file.parent_path() / fs::read_symlink(file);
    }
    const auto status = fs::status(file);
    if (fs::is_directory(status))
        fail("cannot replace " + file.string(), EISDIR);
    if (fs::exists(status) && !fs::is_regular_file(status))
        fail("cannot replace " + file.string(), EEXIST);
    return file;
}

mode_t usualMode(const fs::path& target) {
    struct stat existing = {};
    if (::stat(target.c_str(), &existing) == 0)
        return existing.st_mode & static_cast<mode_t>(07777);
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return static_cast<mode_t>(0666) & ~mask;
}

void syncFolder(const fs::path& folder) {
    const int descriptor = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    // Some file systems cannot sync a folder and say so with EINVAL: there is nothing more to be done there.
    const bool isSynced = descriptor >= 0 && (::fsync(descriptor) == 0 || errno == EINVAL);
    const int error = errno;
    if (descriptor >= 0)
        ::close(descriptor);
    if (!isSynced)
        fail("cannot sync " + folder.string(), error);
}

} // namespace

ReplacingFile::ReplacingFile(const fs::path& target, Permissions permissions) : target_(finalPlace(target)) {
    const std::string name = std::string(1, '.').append(target_.filename().string()).append(".XXXXXX");
    temporary_ = (target_.parent_path() / name).string();
    descriptor_ = ::mkostemp(temporary_.data(), O_CLOEXEC);
    if (descriptor_ < 0)
        fail("cannot create a file beside " + target_.string());
    if (permissions == Permissions::usual && ::fchmod(descriptor_, usualMode(target_)) != 0) {
        const int error = errno;
        ::close(descriptor_);
        ::unlink(temporary_.c_str());
        fail("cannot set the permissions of " + target_.string(), error);
    }
}

ReplacingFile::~ReplacingFile() {
    if (descriptor_ >= 0)
        ::close(descriptor_);
    if (!temporary_.empty())
        ::unlink(temporary_.c_str());
}

void ReplacingFile::commit() {
    // Some file systems report a failed write only on closing.
    if (::fsync(descriptor_) != 0 || ::close(std::exchange(descriptor_, -1)) != 0)
        fail("cannot write " + target_.string());
    if (::rename(temporary_.c_str(), target_.c_str()) != 0)
        fail("cannot replace " + target_.string());
    temporary_.clear();
    syncFolder(target_.parent_path());
}

} // namespace vello
