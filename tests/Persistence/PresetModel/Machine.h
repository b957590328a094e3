// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Persistence/UserPresetList.h"

#include "ModelStore.h"
#include "support/RecordingSystemLog.h"
#include "support/VirtualMainThread.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>

namespace vello::presetmodel {

using Presets = UserPresetList::Presets;

/// What a machine keeps to itself.
struct Home {
    LocalFiles files;
    Presets settings; ///< what the settings file holds
};

/// A machine on which the program runs. Several may use one home.
class Machine {
public:
    Machine(World& world, Folder& folder, std::shared_ptr<Home> home, std::size_t number)
        : world_(world), folder_(folder), home_(std::move(home)), number_(number) {
        start();
    }

    void start() {
        process_ = std::make_unique<Process>(world_, folder_, home_->files, number_);
        process_->store.knowledge |= initialKnowledge;
        process_->list.load(home_->settings);
        process_->list.startObserving();
    }
    void settle() { home_->settings = presets(); }
    void restart() {
        process_.reset();
        start();
    }
    void notice() {
        world_.story << "M" << number_ + 1 << " looks\n";
        process_->thread.runPosted();
        process_->store.notify();
        process_->thread.runPosted();
    }
    const Presets& presets() const { return process_->list.presets().value(); }
    /// Of all bands of a preset; absent if there is no such preset.
    std::optional<double> gainOf(const std::string& name) const {
        const auto found = std::ranges::find(presets(), name, &UserEQPreset::name);
        return found == presets().end() ? std::nullopt : std::optional(found->bandGains.front());
    }
    UserPresetList& list() { return process_->list; }
    ModelStore& store() { return process_->store; }
    VirtualMainThread& thread() { return process_->thread; }
    const std::shared_ptr<Home>& home() const { return home_; }
    Folder& folder() { return folder_; }

    /// For the report of a failure.
    std::string ownJournal() const {
        const auto journal = home_->files.find("userEQPresetsJournal");
        return journal == home_->files.end() ? "" : journal->second.content;
    }

    Edits initialKnowledge = 0;

private:
    struct Process {
        Process(World& world, Folder& folder, LocalFiles& local, std::size_t number)
            : store(world, folder, local, number),
              cloud(store, thread, log, [&world] { return std::to_string(world.random()); }) {}
        ModelStore store;
        VirtualMainThread thread;
        RecordingSystemLog log;
        PresetCloudStore cloud;
        UserPresetList list{cloud, [] {}};
    };

    World& world_;
    Folder& folder_;
    const std::shared_ptr<Home> home_;
    const std::size_t number_;
    std::unique_ptr<Process> process_;
};

} // namespace vello::presetmodel
