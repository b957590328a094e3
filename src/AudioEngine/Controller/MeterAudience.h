// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

namespace vello {

class AudioController;

/// Runs the meters while at least one seat is taken. Main thread only.
class MeterAudience {
public:
    /// Keeps the meters running until it is dropped. Must be dropped before the controller is destroyed.
    using Seat = std::shared_ptr<void>;

    explicit MeterAudience(AudioController& controller) : controller_(controller) {}

    [[nodiscard]] Seat join();

private:
    AudioController& controller_;
    std::weak_ptr<void> everybody_;
};

} // namespace vello
