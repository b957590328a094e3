// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Published.h"
#include "Persistence/PresetCloudStore.h"

#include <cstddef>
#include <functional>
#include <span>
#include <string_view>
#include <vector>

namespace vello {

/// The user's presets as this machine shows them: the shared ones, then those that only this machine has.
/// Main thread only.
class UserPresetList {
public:
    using Presets = std::vector<UserEQPreset>;

    /// `store` must outlive the object. `changed` runs when the list has to be saved on this machine.
    UserPresetList(PresetCloudStore& store, std::function<void()> changed);
    ~UserPresetList();
    UserPresetList(const UserPresetList&) = delete;
    UserPresetList& operator=(const UserPresetList&) = delete;

    const Published<Presets>& presets() const { return presets_; }

    /// Combines the shared presets with those that this machine has saved. Saves nothing.
    void load(Presets local);
    /// From now on the presets of other machines are taken in.
    void startObserving();

    /// Saves a curve under the trimmed `name` at the end of the list and removes any other with that name.
    /// Does nothing if the name is blank or there is not exactly one gain per band.
    void save(std::string_view name, std::span<const double> gains);
    /// Deletes every preset with exactly this name. Returns false if there is no such preset.
    bool remove(std::string_view name);
    /// Gives the first preset called `name` the trimmed `newName`; it keeps its place. Every other preset of
    /// either name is removed. Returns false if there is no such preset or the new name is blank.
    bool rename(std::string_view name, std::string_view newName);
    /// Puts a preset at `position`, or at the end of a shorter list, and removes any other with its name.
    void put(UserEQPreset preset, std::size_t position);

private:
    Presets merged(const Presets& shared, const Presets& local) const;
    void publish(Presets presets, const Presets& edited);

    PresetCloudStore& store_;
    const std::function<void()> changed_;
    Published<Presets> presets_;
};

} // namespace vello
