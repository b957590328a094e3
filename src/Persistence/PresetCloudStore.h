// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/EQPreset.h"
#include "Ports/KeyValueStore.h"
#include "Ports/SystemLog.h"

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace vello {

/// The user's presets, shared by all of the user's machines. Main thread only.
///
/// The whole list is one entry, "userEQPresets": a JSON array in UTF-8. Failures are logged, never reported.
class PresetCloudStore {
public:
    using Presets = std::vector<UserEQPreset>;
    using ExternalChangeAction = std::function<void(const Presets& presets)>;

    /// Both must outlive the object.
    PresetCloudStore(KeyValueStore& store, SystemLog& log);
    ~PresetCloudStore();
    PresetCloudStore(const PresetCloudStore&) = delete;
    PresetCloudStore& operator=(const PresetCloudStore&) = delete;

    /// The shared list without presets that do not have exactly eight bands. Returns nullopt, not an empty
    /// list, when no list was ever shared or it cannot be decoded.
    std::optional<Presets> load();
    /// Replaces the shared list with `presets`. Keeps the previous list if `presets` cannot be written as
    /// JSON.
    void save(const Presets& presets);

    /// `action` runs with the new list after another machine has changed it. Lists that cannot be decoded are
    /// ignored.
    void setOnExternalChange(ExternalChangeAction action) { onExternalChange_ = std::move(action); }
    /// Starts observing changes from other machines and checks for existing ones. A second call does nothing.
    void startObserving();

private:
    void externalChange();

    KeyValueStore& store_;
    const Logger logger_;
    bool isObserving_ = false;
    ExternalChangeAction onExternalChange_;
};

} // namespace vello
