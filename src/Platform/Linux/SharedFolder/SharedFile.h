// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vello {

/// A file that several writers replace without knowing of each other: processes of this machine, and the
/// program that carries the folder to others. Nobody's content is ever destroyed by replacing it: what was
/// taken out stays beside it as a copy until someone removes it.
///
/// A copy of "name" is also what synchronizing programs call by it when they cannot reconcile two versions:
/// "name.sync-conflict-2024", "name (conflicted copy)". A user's own backup, "name.bak", is none. Blocks for
/// the disk.
class SharedFile {
public:
    /// Larger files are not read in full.
    static constexpr std::size_t mostBytes = 4U << 20;

    struct Copy {
        std::filesystem::path file;
        std::string content;
    };

    /// `name` consists of ASCII letters, digits and '%'.
    SharedFile(std::filesystem::path folder, std::string name);

    /// What is in the file now, complete or not; nothing without a file.
    std::optional<std::string> read() const;
    /// The oldest first.
    std::vector<Copy> copies() const;
    /// Puts the content in place, durably and as a whole. What it replaces is a copy afterwards. A crash at
    /// any moment leaves the new content, complete, or none of it. The folder exists. Throws
    /// std::system_error.
    void replace(std::string_view content);
    /// Harmless when it is gone.
    static void remove(const Copy& copy) noexcept;
    /// Removes what writers left that were killed before their content was complete, once it is an hour old.
    void removeLeftovers() const noexcept;

private:
    bool isCopy(const std::filesystem::path& file) const;
    std::filesystem::path freshCopyName() const;

    const std::filesystem::path folder_;
    const std::string name_;
};

/// Keeps the other processes of this machine from changing shared files of a folder, for the life of the
/// object. Gives up after half a second: a process that was stopped in the middle must not stop the others.
class SharedFolderLock {
public:
    explicit SharedFolderLock(const std::filesystem::path& folder);
    ~SharedFolderLock();
    SharedFolderLock(const SharedFolderLock&) = delete;
    SharedFolderLock& operator=(const SharedFolderLock&) = delete;

private:
    const int folder_;
};

} // namespace vello
