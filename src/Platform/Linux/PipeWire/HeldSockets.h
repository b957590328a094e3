// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Descriptor.h"

#include <span>

namespace vello {

/// Keeps sockets open beyond the end of their process: for as long as any process holds the channel's end.
///
/// The sockets are sent into a channel that nobody reads, where the kernel keeps them.
class HeldSockets {
public:
    /// Where the system refuses the channel, nothing is held.
    HeldSockets();

    /// Holds these as well. Any thread, one at a time, as with letGo().
    void hold(std::span<const int> sockets) noexcept;
    /// Their owner's copies are the only ones again.
    void letGo() noexcept;
    /// The end to hand on to another process; negative when there is none. Closed when another program is
    /// started, unless it is handed on.
    int channelEnd() const noexcept { return end_.number(); }

private:
    Descriptor entrance_;
    Descriptor end_;
};

} // namespace vello
