// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Descriptor.h"

#include <filesystem>
#include <optional>
#include <utility>

namespace vello {

/// Proof that this is the only running instance of the user's session. The proof ends with the object or the
/// process, however that ends.
class SingleInstance {
public:
    /// Absent when another process holds the proof. `runtimeFolder` is the session's ($XDG_RUNTIME_DIR).
    /// Throws std::system_error when the lock file cannot be made there.
    static std::optional<SingleInstance> acquire(const std::filesystem::path& runtimeFolder);

private:
    explicit SingleInstance(Descriptor lock) noexcept : lock_(std::move(lock)) {}

    /// The file stays: if it were removed, two instances could lock two files of one name.
    Descriptor lock_;
};

} // namespace vello
