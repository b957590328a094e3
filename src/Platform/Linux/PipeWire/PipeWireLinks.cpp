// SPDX-License-Identifier: Apache-2.0
#include "PipeWireLinks.h"

#include "PipeWireValues.h"

#include <algorithm>

#include <pipewire/keys.h>

namespace vello {

std::optional<GraphLink> PipeWireLinks::add(std::uint32_t id, const spa_dict& properties) {
    const auto output = propertyNumber(properties, PW_KEY_LINK_OUTPUT_NODE);
    const auto input = propertyNumber(properties, PW_KEY_LINK_INPUT_NODE);
    if (!output || !input)
        return std::nullopt;
    inputsOfOutput_.emplace(*output, *input);
    linkedInputs_.insert(*input);
    changedAt_ = MainThread::Clock::now();
    return links_[id] = {*output, *input};
}

std::optional<GraphLink> PipeWireLinks::remove(std::uint32_t id) {
    const auto removed = links_.extract(id);
    if (removed.empty())
        return std::nullopt;
    const GraphLink link = removed.mapped();
    linkedInputs_.erase(linkedInputs_.find(link.inputNodeID));
    const auto [first, last] = inputsOfOutput_.equal_range(link.outputNodeID);
    inputsOfOutput_.erase(
        std::find_if(first, last, [&](const auto& entry) { return entry.second == link.inputNodeID; }));
    changedAt_ = MainThread::Clock::now();
    return link;
}

void PipeWireLinks::clear() {
    links_.clear();
    inputsOfOutput_.clear();
    linkedInputs_.clear();
}

} // namespace vello
