// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Published.h"
#include "Ports/LoginItem.h"

namespace vello {

/// Whether the system starts the application at login, as the user sees and changes it. Main thread only; the
/// calls block for the disk.
class LaunchAtLoginController {
public:
    /// Reads nothing yet. `loginItem` outlives the object.
    explicit LaunchAtLoginController(LoginItem& loginItem) : loginItem_(loginItem) {}

    /// As of the last refresh(); false before.
    const Published<bool>& isEnabled() const { return isEnabled_; }
    /// The last change could not be made.
    const Published<bool>& didFailToUpdate() const { return didFailToUpdate_; }

    /// Reads what the system would do.
    void refresh();
    /// Changes it. isEnabled() shows afterwards what really holds.
    void setEnabled(bool isEnabled);

private:
    bool update(bool isEnabled);

    LoginItem& loginItem_;
    Published<bool> isEnabled_;
    Published<bool> didFailToUpdate_;
};

} // namespace vello
