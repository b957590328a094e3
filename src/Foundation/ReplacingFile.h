// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace vello {

/// A file that is written beside its final place, under a name that nobody can foresee, and takes that place
/// when it is complete: a reader, or a crash at any moment, sees the old content or the new. Dropped before,
/// it leaves nothing. Blocks for the disk. Throws std::system_error.
class ReplacingFile {
public:
    enum class Permissions {
        userAlone, ///< mode 0600
        usual,     ///< those of the file that is replaced, or what the user's umask gives a new file
    };

    /// `target` may be missing or a regular file; a symbolic link stays, and what it points to is replaced.
    ReplacingFile(const std::filesystem::path& target, Permissions permissions);
    ~ReplacingFile();
    ReplacingFile(const ReplacingFile&) = delete;
    ReplacingFile& operator=(const ReplacingFile&) = delete;

    /// Open for reading and writing; owned by this object.
    int descriptor() const noexcept { return descriptor_; }
    /// Makes the contents durable and puts the file in its place. An error of syncing the folder comes after
    /// that.
    void commit();

private:
    std::filesystem::path target_;
    std::string temporary_;
    int descriptor_ = -1;
};

} // namespace vello
