// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace vello {

/// A press on the status item reaches the open panel first, as one outside of it, which closes it; then the
/// item tells that it was activated, some hosts at the press, others when the button is let go. That
/// activation must not open the panel again. Told of the pointer's buttons and the panel, it knows such an
/// activation.
class ClosingPress {
public:
    using Clock = std::chrono::steady_clock;
    /// What a host may take to tell, from the button's last movement on.
    static constexpr std::chrono::milliseconds delay{600};

    /// A button was pressed, and that closed the panel or it did not.
    void pressed(Clock::time_point now, bool hasClosedPanel);
    void released(Clock::time_point now);
    /// Whether an activation at `now` is part of the press that closed the panel. It is asked once.
    [[nodiscard]] bool takeActivation(Clock::time_point now);

private:
    bool hasClosedPanel_ = false;
    bool isHeld_ = false;
    Clock::time_point moved_;
};

} // namespace vello
