// SPDX-License-Identifier: Apache-2.0
#include "UI/ClosingPress.h"

#include <utility>

namespace vello {

void ClosingPress::pressed(Clock::time_point now, bool hasClosedPanel) {
    hasClosedPanel_ = hasClosedPanel;
    isHeld_ = true;
    moved_ = now;
}

void ClosingPress::released(Clock::time_point now) {
    isHeld_ = false;
    moved_ = now;
}

bool ClosingPress::takeActivation(Clock::time_point now) {
    return std::exchange(hasClosedPanel_, false) && (isHeld_ || now - moved_ < delay);
}

} // namespace vello
