// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace vello {

/// Restores the redirects when the process that made them cannot. Any thread, one at a time.
class RedirectKeeper {
public:
    virtual ~RedirectKeeper() = default;
    /// Whether the keeper is restoring the streams or has restored them. Nothing may be directed then.
    virtual bool isGivenUp() const noexcept = 0;
    /// The stream of this node is about to be directed to a capture. May be called again for the same stream.
    virtual void directed(std::uint32_t nodeID) noexcept = 0;
    /// The stream was restored, or is gone.
    virtual void released(std::uint32_t nodeID) noexcept = 0;
};

} // namespace vello
