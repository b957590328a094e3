// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/LaunchPresentation.h"

#include <utility>

namespace vello {

LaunchPresentation::LaunchPresentation(MainThread& mainThread, OpenFromStatusItem openFromStatusItem,
                                       Action onGiveUp)
    : mainThread_(mainThread), openFromStatusItem_(std::move(openFromStatusItem)),
      onGiveUp_(std::move(onGiveUp)) {}

void LaunchPresentation::presentPanelWhenReady(int attemptsRemaining) {
    if (attemptsRemaining < 1)
        return onGiveUp_();
    if (!openFromStatusItem_())
        next_ = mainThread_.after(
            interval, [this, attemptsRemaining] { presentPanelWhenReady(attemptsRemaining - 1); });
}

} // namespace vello
