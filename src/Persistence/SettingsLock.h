// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Descriptor.h"

#include <filesystem>
#include <string>

namespace vello {

/// The right to write the settings of one home. Only one process has it, also when the home is on a network
/// mount that several machines share. It ends with the object or the process, however that ends. Blocks on
/// disk I/O.
class SettingsLock {
public:
    enum class State {
        held,
        heldElsewhere,
        unavailable, ///< the folder is missing or not writable, or its file system has no locks
    };

    /// `file` is the lock's file, in a folder that exists by the first acquire(). Does not access the disk.
    explicit SettingsLock(std::filesystem::path file) : file_(std::move(file)) {}

    /// Tries to take the lock, without waiting. Takes it again if its file was removed or replaced meanwhile.
    State acquire();
    bool isHeld() const noexcept { return lock_.isOpen(); }
    /// The process that holds the lock, for the user: "process 4242 on desk". Empty if unknown.
    std::string holder() const;

private:
    bool isStillInPlace() const;
    void sign() const;

    const std::filesystem::path file_;
    /// The file stays: if it were removed, two instances could lock two files of one name.
    Descriptor lock_;
};

} // namespace vello
