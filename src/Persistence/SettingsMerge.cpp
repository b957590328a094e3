// SPDX-License-Identifier: Apache-2.0
#include "Persistence/SettingsMerge.h"

#include <string_view>
#include <utility>

namespace vello {
namespace {

using Presets = std::vector<UserEQPreset>;
using PresetsByName = std::map<std::string_view, const UserEQPreset*>;

/// The first preset of each name.
PresetsByName byName(const Presets& presets) {
    PresetsByName result;
    for (const UserEQPreset& preset : presets)
        result.emplace(preset.name, &preset);
    return result;
}

SettingsBySourceID mergedSources(const SettingsBySourceID& base, const SettingsBySourceID& ours,
                                 SettingsBySourceID theirs) {
    for (const auto& [sourceID, settings] : base)
        if (!ours.contains(sourceID))
            theirs.erase(sourceID);
    for (const auto& [sourceID, settings] : ours) {
        const auto before = base.find(sourceID);
        if (before == base.end() || before->second != settings)
            theirs.insert_or_assign(sourceID, settings);
    }
    return theirs;
}

Presets mergedPresets(const Presets& base, const Presets& ours, const Presets& theirs) {
    if (base == ours)
        return theirs;
    const PresetsByName before = byName(base);
    const PresetsByName here = byName(ours);
    const PresetsByName there = byName(theirs);
    Presets result;
    for (const UserEQPreset& preset : ours) {
        const auto known = before.find(preset.name);
        const bool isUntouched = known != before.end() && *known->second == preset;
        const auto other = there.find(preset.name);
        if (!isUntouched)
            result.push_back(preset);
        else if (other != there.end())
            result.push_back(*other->second);
    }
    for (const UserEQPreset& preset : theirs)
        if (!before.contains(preset.name) && !here.contains(preset.name))
            result.push_back(preset);
    return result;
}

} // namespace

StoredSettings merged(const StoredSettings& base, const StoredSettings& ours, StoredSettings theirs) {
    return {mergedSources(base.sources, ours.sources, std::move(theirs.sources)),
            mergedPresets(base.userPresets, ours.userPresets, theirs.userPresets)};
}

} // namespace vello
