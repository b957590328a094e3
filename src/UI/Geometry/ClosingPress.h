// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace vello {

/// A press on the status item reaches the open panel first, as one outside of it, which closes it; then the
/// item tells that it was activated, some hosts at the press, others when the button is let go. That
/// activation must not open the panel again. The next one must, even if its press comes before this one is
/// told.
class ClosingPress {
public:
    using Clock = std::chrono::steady_clock;
    /// What a host may take to tell, from when the button is let go.
    static constexpr std::chrono::milliseconds delay{600};

    /// A button was pressed, which closed the panel.
    void pressed() { state_ = State::held; }
    /// A button was let go.
    void released(Clock::time_point now);
    /// Whether an activation at `now` belongs to the press that closed the panel; `isThere` says whether the
    /// item is where that press was. It is taken: the next activation does not belong to it.
    [[nodiscard]] bool takeActivation(Clock::time_point now, bool isThere);

private:
    enum class State { none, held, released };

    State state_ = State::none;
    Clock::time_point released_;
};

} // namespace vello
