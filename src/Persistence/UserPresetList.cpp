// SPDX-License-Identifier: Apache-2.0
#include "Persistence/UserPresetList.h"

#include "Foundation/DisplayText.h"
#include "Models/EQSettings.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <string>
#include <utility>

namespace vello {
namespace {

auto hasName(std::string_view name) {
    return [name = std::string(name)](const UserEQPreset& preset) { return preset.name == name; };
}

} // namespace

UserPresetList::UserPresetList(PresetCloudStore& store, std::function<void()> changed)
    : store_(store), changed_(std::move(changed)) {}

UserPresetList::~UserPresetList() {
    store_.setOnExternalChange(nullptr);
}

/// All of `shared`, then those of `local` with other names that no machine has deleted.
UserPresetList::Presets UserPresetList::merged(const Presets& shared, const Presets& local) const {
    std::set<std::string_view> names;
    for (const UserEQPreset& preset : shared)
        names.insert(preset.name);
    Presets merged = shared;
    std::ranges::copy_if(local, std::back_inserter(merged), [&](const UserEQPreset& preset) {
        return !names.contains(preset.name) && !store_.isDeleted(preset.name);
    });
    return merged;
}

void UserPresetList::load(Presets local) {
    const auto shared = store_.load();
    presets_.set(shared ? merged(*shared, local) : std::move(local));
}

void UserPresetList::startObserving() {
    store_.setOnExternalChange([this](const Presets& shared) {
        presets_.set(merged(shared, presets_.value()));
        changed_();
    });
    store_.startObserving();
}

void UserPresetList::save(std::string_view name, std::span<const double> gains) {
    UserEQPreset saved{std::string(trimmedWhiteSpace(name)), {gains.begin(), gains.end()}};
    if (saved.name.empty() || gains.size() != EQSettings::bandCount)
        return;
    put(std::move(saved), presets_.value().size());
}

bool UserPresetList::remove(std::string_view name) {
    Presets presets = presets_.value();
    const auto deleted = std::ranges::stable_partition(presets, std::not_fn(hasName(name)));
    if (deleted.empty())
        return false;
    const Presets edited(deleted.begin(), deleted.end());
    presets.erase(deleted.begin(), deleted.end());
    publish(std::move(presets), edited);
    return true;
}

bool UserPresetList::rename(std::string_view name, std::string_view newName) {
    const auto& presets = presets_.value();
    const auto renamed = std::ranges::find_if(presets, hasName(name));
    UserEQPreset preset{std::string(trimmedWhiteSpace(newName)), {}};
    if (renamed == presets.end() || preset.name.empty())
        return false;
    preset.bandGains = renamed->bandGains;
    Presets remaining = presets;
    const auto isReplaced = [&](const UserEQPreset& each) {
        return each.name == name || each.name == preset.name;
    };
    const auto position = renamed - presets.begin() - std::count_if(presets.begin(), renamed, isReplaced);
    const Presets edited{*renamed, preset};
    std::erase_if(remaining, isReplaced);
    remaining.insert(remaining.begin() + position, std::move(preset));
    publish(std::move(remaining), edited);
    return true;
}

void UserPresetList::put(UserEQPreset preset, std::size_t position) {
    Presets presets = presets_.value();
    const Presets edited{preset};
    std::erase_if(presets, hasName(preset.name));
    const auto place = static_cast<std::ptrdiff_t>(std::min(position, presets.size()));
    presets.insert(presets.begin() + place, std::move(preset));
    publish(std::move(presets), edited);
}

/// Saves the list on this machine and shares it with the others.
void UserPresetList::publish(Presets presets, const Presets& edited) {
    presets_.set(std::move(presets));
    changed_();
    store_.save(presets_.value(), edited);
}

} // namespace vello
