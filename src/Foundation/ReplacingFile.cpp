// SPDX-License-Identifier: Apache-2.0
#include "Foundation/ReplacingFile.h"

#include "FailedCall.h"
#include "Foundation/Files.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vello {

namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40;

/// Follows symbolic links to the file to replace, which need not exist yet. Throws for a device or a folder.
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

} // namespace

ReplacingFile::ReplacingFile(const fs::path& target, Permissions permissions) : target_(finalPlace(target)) {
    const std::string name = std::string(1, '.').append(target_.filename().string()).append(".XXXXXX");
    temporary_ = (target_.parent_path() / name).string();
    descriptor_ = Descriptor(::mkostemp(temporary_.data(), O_CLOEXEC));
    if (!descriptor_.isOpen())
        fail("cannot create a file beside " + target_.string());
    if (permissions == Permissions::usual && ::fchmod(descriptor(), usualMode(target_)) != 0) {
        const int error = errno;
        ::unlink(temporary_.c_str());
        fail("cannot set the permissions of " + target_.string(), error);
    }
}

ReplacingFile::~ReplacingFile() {
    if (!temporary_.empty())
        ::unlink(temporary_.c_str());
}

void ReplacingFile::write(std::string_view content) {
    if (!writeAll(descriptor(), content))
        fail("cannot write " + target_.string());
}

void ReplacingFile::commit() {
    if (::fsync(descriptor()) != 0 || !descriptor_.close())
        fail("cannot write " + target_.string());
    if (::rename(temporary_.c_str(), target_.c_str()) != 0)
        fail("cannot replace " + target_.string());
    temporary_.clear();
    if (!syncFolder(target_.parent_path()))
        fail("cannot sync " + target_.parent_path().string());
}

} // namespace vello
