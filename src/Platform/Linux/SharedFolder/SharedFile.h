// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Descriptor.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vello {

/// A file that several writers replace without coordination: processes of this machine, and the program that
/// synchronizes the folder with other machines. It may be a symbolic link, whose target is replaced then.
///
/// The names of copies include those that synchronizing programs give to conflicting versions:
/// "name.sync-conflict-2024", "name (conflicted copy)". A user's own backup, "name.bak", is not a copy.
/// Blocks on disk access.
class SharedFile {
public:
    /// In bytes. Only this much of a larger file is read.
    static constexpr std::size_t mostBytes = 4U << 20;

    struct Copy {
        std::filesystem::path file;
        std::string content;
    };
    /// Whether a content is no longer needed.
    using IsMerged = std::function<bool(const std::string& content)>;

    /// `name` consists of ASCII letters, digits and '%'.
    SharedFile(std::filesystem::path folder, std::string name);

    /// The part of a file's name that is the name of a shared file, if the file is that one or a copy of it.
    static std::optional<std::string> sharedName(const std::string& fileName);

    const std::string& name() const { return name_; }
    /// The current content, complete or not; absent without a file.
    std::optional<std::string> read() const;
    /// All copies, the oldest first.
    std::vector<Copy> copies() const;
    /// Replaces the content durably and atomically. After a crash at any moment the new content is there
    /// either completely or not at all. A previous content that is not merged is kept as a numbered copy,
    /// also if somebody has written it in the middle of this call. The folder must exist. Throws
    /// std::system_error.
    void replace(std::string_view content, const IsMerged& isMerged);
    /// Does nothing when the copy is already gone.
    static void remove(const Copy& copy) noexcept;
    /// Removes partial files of killed writers once they are an hour old.
    void removeLeftovers() const noexcept;

private:
    void keepPrevious(const std::filesystem::path& previous, const std::string& content) const;

    const std::filesystem::path folder_;
    const std::string name_;
};

/// Prevents other processes of this machine from changing shared files of a folder during its lifetime. Gives
/// up waiting after half a second, because a stopped process must not block the others.
class SharedFolderLock {
public:
    explicit SharedFolderLock(const std::filesystem::path& folder);

private:
    Descriptor folder_;
};

} // namespace vello
