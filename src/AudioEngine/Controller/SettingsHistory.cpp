// SPDX-License-Identifier: Apache-2.0
#include "AudioEngine/Controller/SettingsHistory.h"

#include <chrono>
#include <utility>

namespace vello {

using namespace std::chrono_literals;

namespace {

constexpr auto kLongestPauseInAChange = 1s;

} // namespace

void SettingsHistory::willChange(const std::string& sourceID, Stored before, Instant now) {
    const auto [step, isFirst] = steps_.try_emplace(sourceID);
    const bool isSameChange =
        !isFirst && !step->second.isTakenBack && now - step->second.lastChange < kLongestPauseInAChange;
    if (!isSameChange)
        step->second = {.before = std::move(before), .lastChange = now};
    step->second.lastChange = now;
}

std::optional<SettingsHistory::Stored> SettingsHistory::exchange(std::string_view sourceID, Stored current) {
    const auto step = steps_.find(sourceID);
    if (step == steps_.end())
        return std::nullopt;
    step->second.isTakenBack = true;
    return std::exchange(step->second.before, std::move(current));
}

} // namespace vello
