// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// All functions block on disk I/O.
namespace vello {

/// What to do when the name is that of a symbolic link.
enum class Links { follow, refuse };

/// Identifies what a file holds without reading it: differs after the file was written or replaced.
struct FileStamp {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::int64_t size = 0;                    ///< bytes
    std::chrono::nanoseconds modifiedAt = {}; ///< since the epoch

    friend bool operator==(const FileStamp&, const FileStamp&) = default;
};

/// Returns nullopt when the file is missing or cannot be reached. Follows symbolic links.
std::optional<FileStamp> fileStamp(const std::filesystem::path& file) noexcept;

struct FileContent {
    std::string text;
    FileStamp stamp; ///< from before the content was read
};

/// Reads the first `atMost` bytes of a regular file. Returns nullopt with `errno` set when the file is
/// missing, cannot be read, or is a folder (EISDIR) or anything else (ENOTSUP). Never blocks on a device or a
/// pipe.
std::optional<FileContent> readContent(const std::filesystem::path& file, std::size_t atMost,
                                       Links links = Links::follow);
/// Like readContent(), without the stamp.
std::optional<std::string> readFile(const std::filesystem::path& file, std::size_t atMost,
                                    Links links = Links::follow);
/// Reads up to `atMost` bytes, fewer only at the end of the file. Returns nullopt with `errno` set on a read
/// error.
std::optional<std::string> readAll(int descriptor, std::size_t atMost);

/// Writes all of `content`. Returns false with `errno` set when some of it was not written.
bool writeAll(int descriptor, std::string_view content) noexcept;
/// Replaces the whole content atomically: readers, and a crash at any moment, see either the old content or
/// the new. On return the content is on disk and the file has mode 0600. A symbolic link is kept and its
/// target replaced. Throws std::system_error; the old content is then untouched, unless only the sync of the
/// folder failed.
void writeFileAtomically(const std::filesystem::path& file, std::string_view content);

/// Creates the folder and its missing parents with mode 0700. Throws std::system_error.
void createPrivateFolder(const std::filesystem::path& folder);
/// Makes the names in the folder durable if the file system supports that. An empty path is the current
/// folder. Returns false with `errno` set on failure.
bool syncFolder(const std::filesystem::path& folder) noexcept;
/// Renames unless the new name exists; returns false with `errno` set if nothing was moved. A symbolic link
/// itself is moved, not its target.
bool moveWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to) noexcept;
/// Renames `file` to `aside`. What has that name already gets the first free of the names `aside`.1,
/// `aside`.2 and so on, so nothing is ever replaced. Returns false with `errno` set if `file` was not moved.
bool moveAside(const std::filesystem::path& file, const std::filesystem::path& aside);

} // namespace vello
