// SPDX-License-Identifier: Apache-2.0
#include "Persistence/PresetOrder.h"

#include <algorithm>
#include <limits>

namespace vello {
namespace {

constexpr std::uint32_t kMiddle = 1U << 31U;

bool isPrefix(const PresetOrder& order, const PresetOrder& longer) {
    return order.size() < longer.size() && std::equal(order.begin(), order.end(), longer.begin());
}

} // namespace

PresetOrder orderBetween(const PresetOrder& before, const PresetOrder& after) {
    PresetOrder order = before;
    while (isPrefix(order, after)) {
        const std::uint32_t next = after[order.size()];
        order.push_back(next / 2);
        if (next > 1)
            return order;
    }
    order.push_back(kMiddle);
    return order;
}

PresetOrder orderAfter(const PresetOrder& last, std::uint64_t least) {
    constexpr std::uint64_t most = std::numeric_limits<std::uint32_t>::max();
    const std::uint64_t next = std::max(least, last.empty() ? 1 : std::uint64_t{last.front()} + 1);
    if (next <= most)
        return {static_cast<std::uint32_t>(next)};
    PresetOrder order = last;
    order.push_back(kMiddle);
    return order;
}

PresetOrder orderOfMachine(PresetOrder order, std::string_view machine) {
    std::uint32_t hash = 2166136261U; // FNV-1a
    for (const char character : machine)
        hash = (hash ^ static_cast<unsigned char>(character)) * 16777619U;
    order.push_back(std::max(hash, 1U));
    return order;
}

} // namespace vello
