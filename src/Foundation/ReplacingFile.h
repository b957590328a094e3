// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Descriptor.h"

#include <filesystem>
#include <string>
#include <string_view>

namespace vello {

/// Writes a file under an unpredictable temporary name in the same folder and renames it over the target in
/// commit(). Readers, and a crash at any moment, see either the old content or the new. Destroying the object
/// without commit() removes the temporary file. Blocks on disk I/O. Throws std::system_error.
class ReplacingFile {
public:
    enum class Permissions {
        userAlone, ///< mode 0600
        usual,     ///< those of the replaced file; for a new file, the default under the umask
    };

    /// `target` is a regular file or does not exist. A symbolic link is kept and its target replaced.
    ReplacingFile(const std::filesystem::path& target, Permissions permissions);
    ~ReplacingFile();
    ReplacingFile(const ReplacingFile&) = delete;
    ReplacingFile& operator=(const ReplacingFile&) = delete;

    /// Removes the temporary files that processes which died left beside `target`. Call only while nobody
    /// else can be writing the target. Failures are ignored.
    static void removeLeftovers(const std::filesystem::path& target) noexcept;

    /// Open for reading and writing; owned by this object.
    int descriptor() const noexcept { return descriptor_.number(); }
    void write(std::string_view content);
    /// Makes the content durable and renames the file over the target. A failed sync of the folder throws
    /// after the target has been replaced.
    void commit();

private:
    std::filesystem::path target_;
    std::string temporary_;
    Descriptor descriptor_;
};

} // namespace vello
