// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>

namespace vello {

/// Proof that this is the only running instance of the user's session. The proof ends with the object or the
/// process, however that ends.
class SingleInstance {
public:
    /// Absent when another process holds the proof. `runtimeFolder` is the session's ($XDG_RUNTIME_DIR).
    /// Throws std::system_error when the lock file cannot be made there.
    static std::optional<SingleInstance> acquire(const std::filesystem::path& runtimeFolder);

    SingleInstance(SingleInstance&& other) noexcept;
    SingleInstance& operator=(SingleInstance&&) = delete;
    ~SingleInstance();

private:
    explicit SingleInstance(int descriptor) noexcept : descriptor_(descriptor) {}

    int descriptor_;
};

} // namespace vello
