// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/Applications/ServiceLoginItem.h"

namespace vello {

LoginItem::Status ServiceLoginItem::status() {
    if (isUnitEnabled() && services_.isActive(target_))
        return Status::enabled;
    // An entry from before, or from a desktop without service manager, works here as well.
    return elsewhere_.status();
}

void ServiceLoginItem::registerItem() {
    if (isServed()) {
        services_.enable(unit_);
        elsewhere_.unregisterItem();
        return;
    }
    elsewhere_.registerItem();
    if (isUnitEnabled())
        services_.disable(unit_);
}

void ServiceLoginItem::unregisterItem() {
    if (isUnitEnabled())
        services_.disable(unit_);
    elsewhere_.unregisterItem();
}

bool ServiceLoginItem::isServed() {
    return !services_.fileState(unit_).empty() && services_.isActive(target_);
}

bool ServiceLoginItem::isUnitEnabled() {
    return services_.fileState(unit_) == "enabled";
}

} // namespace vello
