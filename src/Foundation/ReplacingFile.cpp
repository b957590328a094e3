// SPDX-License-Identifier: Apache-2.0
#include "Foundation/ReplacingFile.h"

#include "FailedCall.h"
#include "Foundation/Files.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vello {

namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40;

bool isAlphanumeric(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

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
        fail("cannot replace " + file.string(), ENOTSUP);
    return file;
}

constexpr std::string_view kUnpredictable = "XXXXXX"; ///< replaced by mkostemp

std::string temporaryPrefix(const fs::path& target) {
    return std::string(1, '.').append(target.filename().string()).append(".");
}

bool isTemporary(const fs::directory_entry& entry, std::string_view prefix) {
    const std::string name = entry.path().filename().string();
    return name.size() == prefix.size() + kUnpredictable.size() && name.starts_with(prefix) &&
           std::all_of(name.begin() + static_cast<std::ptrdiff_t>(prefix.size()), name.end(),
                       isAlphanumeric) &&
           entry.symlink_status().type() == fs::file_type::regular;
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
    temporary_ = (target_.parent_path() / temporaryPrefix(target_).append(kUnpredictable)).string();
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

void ReplacingFile::removeLeftovers(const fs::path& target) noexcept {
    try {
        const fs::path place = finalPlace(target);
        const std::string prefix = temporaryPrefix(place);
        std::vector<fs::path> leftovers;
        for (const auto& entry : fs::directory_iterator(place.parent_path()))
            if (isTemporary(entry, prefix))
                leftovers.push_back(entry.path());
        for (const fs::path& leftover : leftovers)
            ::unlink(leftover.c_str());
    } catch (const std::exception&) {
        // A folder that cannot be read keeps its files.
        return;
    }
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
