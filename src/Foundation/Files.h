// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

/// All functions block on disk I/O.
namespace vello {

/// What to do when the name is that of a symbolic link.
enum class Links { follow, refuse };

/// Reads the first `atMost` bytes of a regular file. Returns nullopt when the file is missing, is not a
/// regular file or cannot be read. Never blocks on a device or a pipe.
std::optional<std::string> readFile(const std::filesystem::path& file, std::size_t atMost,
                                    Links links = Links::follow);
/// Reads up to `atMost` bytes, fewer only at the end of the file. Returns nullopt on a read error.
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
/// Renames unless the new name exists; returns false if nothing was moved. A symbolic link itself is moved,
/// not its target.
bool moveWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to) noexcept;

} // namespace vello
