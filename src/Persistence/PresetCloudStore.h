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

/// The user's presets as all of the user's machines share them. Main thread only.
///
/// One entry, "userEQPresets", holds the whole list as a JSON array in UTF-8. A failure is logged, never
/// reported.
class PresetCloudStore {
public:
    using Presets = std::vector<UserEQPreset>;
    using ExternalChangeAction = std::function<void(const Presets& presets)>;

    /// Both outlive the object.
    PresetCloudStore(KeyValueStore& store, SystemLog& log);
    ~PresetCloudStore();
    PresetCloudStore(const PresetCloudStore&) = delete;
    PresetCloudStore& operator=(const PresetCloudStore&) = delete;

    /// The shared list, without presets that have not exactly eight bands. Nothing, which is not an empty
    /// list, when nobody ever shared one or it cannot be understood.
    std::optional<Presets> load();
    /// Shares `presets` in place of the list that was shared before. A list that cannot be written as JSON
    /// leaves that one.
    void save(const Presets& presets);

    /// Runs with the new list after another machine changed it to one that can be understood.
    void setOnExternalChange(ExternalChangeAction action) { onExternalChange_ = std::move(action); }
    /// Begins to listen to other machines and looks for what they have written. A second call does nothing.
    void startObserving();

private:
    void externalChange();

    KeyValueStore& store_;
    const Logger logger_;
    bool isObserving_ = false;
    ExternalChangeAction onExternalChange_;
};

} // namespace vello
