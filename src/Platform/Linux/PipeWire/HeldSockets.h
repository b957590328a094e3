// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Descriptor.h"

#include <span>

namespace vello {

/// Keeps sockets open after their process has ended, for as long as any process holds the channel's end.
///
/// The sockets are sent as descriptors into a channel that is never read, so the kernel keeps them.
class HeldSockets {
public:
    /// Holds nothing when the system cannot create the channel.
    HeldSockets();

    /// Holds these sockets as well. Any thread; calls of hold() and letGo() must not overlap.
    void hold(std::span<const int> sockets) noexcept;
    /// Releases all held sockets.
    void letGo() noexcept;
    /// The end to pass to another process; negative without a channel. It is close-on-exec unless it is
    /// passed on.
    int channelEnd() const noexcept { return end_.number(); }

private:
    Descriptor entrance_;
    Descriptor end_;
};

} // namespace vello
