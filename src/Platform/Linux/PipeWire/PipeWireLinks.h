// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "GraphObjects.h"

#include <cstdint>
#include <map>
#include <optional>
#include <ranges>
#include <set>

struct spa_dict;

namespace vello {

/// The mirror's links, each from one channel of a node to one channel of another. The control loop's lock
/// guards all of it.
class PipeWireLinks {
public:
    /// Returns the added link; nothing when its properties name no nodes.
    std::optional<GraphLink> add(std::uint32_t id, const spa_dict& properties);
    /// Returns the removed link; nothing when no link has this ID.
    std::optional<GraphLink> remove(std::uint32_t id);
    void clear();

    bool hasLinkInto(std::uint32_t nodeID) const { return linkedInputs_.contains(nodeID); }
    bool hasLinkOutOf(std::uint32_t nodeID) const { return inputsOfOutput_.contains(nodeID); }
    /// IDs of the nodes that the node is linked to, once for each link.
    auto inputsOf(std::uint32_t nodeID) const {
        const auto [first, last] = inputsOfOutput_.equal_range(nodeID);
        return std::ranges::subrange(first, last) | std::views::values;
    }
    /// Time when a link was last added or removed.
    MainThread::Instant changedAt() const { return changedAt_; }

private:
    std::map<std::uint32_t, GraphLink> links_;
    /// The same links, indexed by output node and by input node: dozens of taps are looked up at each change
    /// of hundreds of links.
    std::multimap<std::uint32_t, std::uint32_t> inputsOfOutput_;
    std::multiset<std::uint32_t> linkedInputs_;
    MainThread::Instant changedAt_{};
};

} // namespace vello
