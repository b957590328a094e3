// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/MainThread.h"

namespace vello {

/// Opens the panel once at launch, as soon as there is a status item. Main thread only.
class LaunchPresentation {
public:
    static constexpr int attempts = 25;
    static constexpr std::chrono::milliseconds interval{100};

    /// Opens the panel from the status item, unless the panel is open already. Returns false while there is
    /// no item.
    using OpenFromStatusItem = std::function<bool()>;
    using Action = std::function<void()>;

    /// `onGiveUp` runs when no attempt found an item. `mainThread` must outlive the object. Destroying the
    /// object ends the attempts.
    LaunchPresentation(MainThread& mainThread, OpenFromStatusItem openFromStatusItem, Action onGiveUp);

    /// The first attempt is made at once, each further one `interval` after the previous.
    void presentPanelWhenReady(int attemptsRemaining = attempts);

private:
    MainThread& mainThread_;
    OpenFromStatusItem openFromStatusItem_;
    Action onGiveUp_;
    TaskHandle next_;
};

} // namespace vello
