// SPDX-License-Identifier: Apache-2.0
#include "Foundation/Files.h"

#include "FailedCall.h"
#include "Foundation/Descriptor.h"
#include "Foundation/ReplacingFile.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vello {
namespace {

namespace fs = std::filesystem;
constexpr mode_t kUserOnlyFolder = 0700;
constexpr std::size_t kChunk = 1 << 16; ///< bytes read at a time

FileStamp stampOf(const struct stat& status) {
    return {.device = status.st_dev,
            .inode = status.st_ino,
            .size = status.st_size,
            .modifiedAt = std::chrono::seconds(status.st_mtim.tv_sec) +
                          std::chrono::nanoseconds(status.st_mtim.tv_nsec)};
}

} // namespace

std::optional<std::string> readAll(int descriptor, std::size_t atMost) {
    std::string content;
    std::string chunk(std::min(kChunk, atMost), '\0');
    while (content.size() < atMost) {
        const ssize_t count =
            ::read(descriptor, chunk.data(), std::min(chunk.size(), atMost - content.size()));
        if (count == 0)
            break;
        if (count < 0 && errno != EINTR)
            return std::nullopt;
        if (count > 0)
            content.append(chunk, 0, static_cast<std::size_t>(count));
    }
    return content;
}

std::optional<FileStamp> fileStamp(const fs::path& file) noexcept {
    struct stat status = {};
    return ::stat(file.c_str(), &status) == 0 ? std::optional(stampOf(status)) : std::nullopt;
}

std::optional<FileContent> readContent(const fs::path& file, std::size_t atMost, Links links) {
    const int linkFlag = links == Links::refuse ? O_NOFOLLOW : 0;
    const Descriptor descriptor(
        ::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | linkFlag));
    struct stat status = {};
    if (!descriptor.isOpen() || ::fstat(descriptor.number(), &status) != 0)
        return std::nullopt;
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : ENOTSUP;
        return std::nullopt;
    }
    std::optional<std::string> text = readAll(descriptor.number(), atMost);
    return text ? std::optional(FileContent{std::move(*text), stampOf(status)}) : std::nullopt;
}

std::optional<std::string> readFile(const fs::path& file, std::size_t atMost, Links links) {
    std::optional<FileContent> content = readContent(file, atMost, links);
    return content ? std::optional(std::move(content->text)) : std::nullopt;
}

bool writeAll(int descriptor, std::string_view content) noexcept {
    while (!content.empty()) {
        const ssize_t written = ::write(descriptor, content.data(), content.size());
        if (written < 0 && errno != EINTR)
            return false;
        content.remove_prefix(written > 0 ? static_cast<std::size_t>(written) : 0);
    }
    return true;
}

void writeFileAtomically(const fs::path& file, std::string_view content) {
    ReplacingFile replacing(file, ReplacingFile::Permissions::userAlone);
    replacing.write(content);
    replacing.commit();
}

void createPrivateFolder(const fs::path& folder) {
    if (folder.empty() || fs::is_directory(folder))
        return;
    createPrivateFolder(folder.parent_path());
    if (::mkdir(folder.c_str(), kUserOnlyFolder) != 0 && !(errno == EEXIST && fs::is_directory(folder)))
        fail("cannot create the folder " + folder.string());
}

bool syncFolder(const fs::path& folder) noexcept {
    const Descriptor descriptor(
        ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // EINVAL: the file system cannot sync a folder, so there is nothing left to do.
    return descriptor.isOpen() && (::fsync(descriptor.number()) == 0 || errno == EINVAL);
}

bool moveWithoutReplacing(const fs::path& from, const fs::path& to) noexcept {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return true;
    // EINVAL: the file system does not support the flag. A hard link does not replace anything either.
    return errno == EINVAL && ::link(from.c_str(), to.c_str()) == 0 && ::unlink(from.c_str()) == 0;
}

bool moveAside(const fs::path& file, const fs::path& aside) {
    for (int number = 1; !moveWithoutReplacing(file, aside); ++number) {
        if (errno != EEXIST)
            return false;
        fs::path numbered = aside;
        numbered += "." + std::to_string(number);
        if (!moveWithoutReplacing(aside, numbered) && errno != EEXIST)
            return false;
    }
    return true;
}

} // namespace vello
