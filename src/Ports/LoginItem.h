// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

/// Whether the system starts the application when the user logs in. Main thread only; the calls block on disk
/// I/O.
class LoginItem {
public:
    enum class Status {
        notRegistered,
        enabled,
        requiresApproval, ///< registered, but the user or the desktop switched it off
        notFound,         ///< registered, but the program to start does not exist
    };

    virtual ~LoginItem() = default;

    virtual Status status() = 0;
    /// Throws std::exception with a sentence for the user on failure.
    virtual void registerItem() = 0;
    /// Throws like registerItem(). Harmless when it is not registered.
    virtual void unregisterItem() = 0;
};

} // namespace vello
