// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Persistence/PresetOrder.h"

#include <cstdint>
#include <set>
#include <string_view>
#include <utility>

namespace vello {

/// The places in use, for finding free ones.
class PresetPlaces {
public:
    /// `machine` is empty for places that all machines choose equally.
    PresetPlaces(std::uint64_t clock, std::string_view machine) : clock_(clock), machine_(machine) {}

    void add(const PresetOrder& order) { used_.insert(order); }
    PresetOrder after(const PresetOrder& order) {
        const auto next = used_.upper_bound(order);
        return use(next == used_.end() ? orderAfter(order, clock_) : orderBetween(order, *next));
    }
    PresetOrder atEnd() { return use(orderAfter(used_.empty() ? PresetOrder{} : *used_.rbegin(), clock_)); }

private:
    PresetOrder use(PresetOrder order) {
        if (!machine_.empty())
            order = orderOfMachine(std::move(order), machine_);
        used_.insert(order);
        return order;
    }

    const std::uint64_t clock_;
    const std::string_view machine_;
    std::set<PresetOrder> used_;
};

} // namespace vello
