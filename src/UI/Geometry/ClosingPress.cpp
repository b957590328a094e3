// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/ClosingPress.h"

namespace vello {

void ClosingPress::released(Clock::time_point now) {
    if (state_ != State::held)
        return;
    state_ = State::released;
    released_ = now;
}

bool ClosingPress::takeActivation(Clock::time_point now, bool isThere) {
    const bool isExpected = state_ == State::held || (state_ == State::released && now - released_ < delay);
    const bool belongs = isExpected && isThere;
    state_ = State::none;
    return belongs;
}

} // namespace vello
