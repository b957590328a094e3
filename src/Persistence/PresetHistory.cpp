// SPDX-License-Identifier: Apache-2.0
#include "Persistence/PresetHistory.h"

#include <algorithm>

namespace vello {

std::uint64_t PresetHistory::count(std::string_view machine) const {
    const auto found = counts_.find(machine);
    return found == counts_.end() ? 0 : found->second;
}

std::uint64_t PresetHistory::latest() const {
    std::uint64_t latest = 0;
    for (const auto& [machine, count] : counts_)
        latest = std::max(latest, count);
    return latest;
}

void PresetHistory::add(const PresetEdit& edit) {
    std::uint64_t& count = counts_[edit.machine];
    count = std::max(count, edit.count);
}

void PresetHistory::join(const PresetHistory& other) {
    for (const auto& [machine, count] : other.counts_)
        add({count, machine});
}

void PresetHistory::meet(const PresetHistory& other) {
    for (auto& [machine, count] : counts_)
        count = std::min(count, other.count(machine));
    std::erase_if(counts_, [](const auto& entry) { return entry.second == 0; });
}

} // namespace vello
