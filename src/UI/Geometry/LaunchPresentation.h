// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/MainThread.h"

namespace vello {

/// Opens the panel once at launch, as soon as there is a status item to open it from. Main thread only.
class LaunchPresentation {
public:
    static constexpr int attempts = 25;
    static constexpr std::chrono::milliseconds interval{100};

    /// Opens the panel from the status item if the panel is not open already; false while there is no item.
    using OpenFromStatusItem = std::function<bool()>;
    using Action = std::function<void()>;

    /// `onGiveUp` runs when there was no item in any attempt. `mainThread` outlives the object; dropping the
    /// object ends the search.
    LaunchPresentation(MainThread& mainThread, OpenFromStatusItem openFromStatusItem, Action onGiveUp);

    /// The first attempt is made at once, each other `interval` after the one before.
    void presentPanelWhenReady(int attemptsRemaining = attempts);

private:
    MainThread& mainThread_;
    OpenFromStatusItem openFromStatusItem_;
    Action onGiveUp_;
    TaskHandle next_;
};

} // namespace vello
