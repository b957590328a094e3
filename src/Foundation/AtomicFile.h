// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace vello {

/// The first `atMost` bytes of a regular file; absent when there is none or it cannot be read. Never waits
/// for a device or a pipe of that name. Blocks for the disk.
std::optional<std::string> readFile(const std::filesystem::path& file, std::size_t atMost);

/// Creates the folder and those above it that do not exist, for the user alone (mode 0700). Throws
/// std::system_error.
void createPrivateFolder(const std::filesystem::path& folder);

/// Replaces the file's content as a whole: a reader, or a crash at any moment, sees the old content or the
/// new. The content is on the disk on return. The file is the user's alone afterwards (mode 0600). A symbolic
/// link stays: the file that it names is replaced. Throws std::system_error, and then leaves the old content
/// and nothing else, except that an error of syncing the folder comes after the replacement.
void writeFileAtomically(const std::filesystem::path& file, std::string_view content);

/// Renames, unless something of the new name exists. A symbolic link is moved itself. False: nothing was
/// moved.
bool moveWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to) noexcept;

} // namespace vello
