// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

namespace vello {

class AudioController;

/// Everybody who looks at the meters: they run while somebody does. Main thread only.
class MeterAudience {
public:
    /// One who looks. Dropping the handle is looking away; every handle is dropped before the controller
    /// goes.
    using Seat = std::shared_ptr<void>;

    explicit MeterAudience(AudioController& controller) : controller_(controller) {}

    [[nodiscard]] Seat join();

private:
    AudioController& controller_;
    std::weak_ptr<void> everybody_;
};

} // namespace vello
