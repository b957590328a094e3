// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Controller/LaunchAtLoginController.h"

#include <exception>

namespace vello {

void LaunchAtLoginController::refresh() {
    isEnabled_.set(loginItem_.status() == LoginItem::Status::enabled);
}

void LaunchAtLoginController::setEnabled(bool isEnabled) {
    didFailToUpdate_.set(!update(isEnabled));
    refresh();
}

bool LaunchAtLoginController::update(bool isEnabled) {
    try {
        if (isEnabled)
            loginItem_.registerItem();
        else
            loginItem_.unregisterItem();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace vello
