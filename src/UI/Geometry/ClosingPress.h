// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace vello {

/// A press on the status item first reaches the open panel, as a press outside of it, and closes the panel.
/// The host then reports an activation of the item: some hosts at the press, others at the release. That
/// activation must not open the panel again. The next activation must, even if its press comes before this
/// one is reported.
class ClosingPress {
public:
    using Clock = std::chrono::steady_clock;
    /// Longest time a host may take to report an activation, from the release of the button.
    static constexpr std::chrono::milliseconds delay{600};

    /// A button press closed the panel.
    void pressed() { state_ = State::held; }
    /// The button was released.
    void released(Clock::time_point now);
    /// Whether an activation at `now` belongs to the press that closed the panel. `isThere` says whether the
    /// item is at the position of that press. Resets the state: the next activation does not belong to it.
    [[nodiscard]] bool takeActivation(Clock::time_point now, bool isThere);

private:
    enum class State { none, held, released };

    State state_ = State::none;
    Clock::time_point released_;
};

} // namespace vello
