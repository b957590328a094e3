// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace vello {

/// Who answers for the redirects when the process that made them cannot. Any thread, one at a time.
class RedirectKeeper {
public:
    virtual ~RedirectKeeper() = default;
    /// Whether the streams are the keeper's, who gives them back or has done so: nothing may be directed.
    virtual bool isGivenUp() const noexcept = 0;
    /// The stream of this node is about to be directed to a capture. Repeated for one that is.
    virtual void directed(std::uint32_t nodeID) noexcept = 0;
    /// It was given back, or is gone.
    virtual void released(std::uint32_t nodeID) noexcept = 0;
};

} // namespace vello
