// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

/// Whether the system starts the application when the user logs in. Main thread only; the calls block for the
/// disk.
class LoginItem {
public:
    enum class Status {
        notRegistered,
        enabled,
        requiresApproval, ///< registered, but the user or the desktop switched it off
        notFound,         ///< registered, but what it would start is not there
    };

    virtual ~LoginItem() = default;

    virtual Status status() = 0;
    /// Throws std::exception with a sentence for the user when it could not be done.
    virtual void registerItem() = 0;
    /// Throws as registerItem() does. Harmless when it is not registered.
    virtual void unregisterItem() = 0;
};

} // namespace vello
