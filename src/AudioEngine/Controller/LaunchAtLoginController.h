// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Published.h"
#include "Ports/LoginItem.h"

namespace vello {

/// The user's setting whether the application starts at login. Main thread only; the calls block on disk I/O.
class LaunchAtLoginController {
public:
    /// Reads nothing yet. `loginItem` must outlive the object.
    explicit LaunchAtLoginController(LoginItem& loginItem) : loginItem_(loginItem) {}

    /// As of the last refresh(); initially false.
    const Published<bool>& isEnabled() const { return isEnabled_; }
    /// Whether the last change failed.
    const Published<bool>& didFailToUpdate() const { return didFailToUpdate_; }

    /// Reads the current state from the system.
    void refresh();
    /// Changes the setting, then updates isEnabled() from the system.
    void setEnabled(bool isEnabled);

private:
    bool update(bool isEnabled);

    LoginItem& loginItem_;
    Published<bool> isEnabled_;
    Published<bool> didFailToUpdate_;
};

} // namespace vello
