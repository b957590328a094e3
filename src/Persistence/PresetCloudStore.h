// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Published.h"
#include "Models/EQPreset.h"
#include "Persistence/PresetJournal.h"
#include "Persistence/RetryDelay.h"
#include "Ports/KeyValueStore.h"
#include "Ports/MainThread.h"
#include "Ports/SystemLog.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vello {

/// The user's presets, shared by all of the user's machines. Main thread only.
///
/// The whole list is one entry, "userEQPresets": a JSON array in UTF-8. Beside it every machine that has
/// saved keeps a journal of what it knows ("userEQPresetsJournal" and the name of the machine), by which
/// lists are merged. A journal is written before the list that results from it. Failures are logged, and
/// shown by problem().
class PresetCloudStore {
public:
    using Presets = std::vector<UserEQPreset>;
    using ExternalChangeAction = std::function<void(const Presets& presets)>;

    /// Returns a name that no other machine has, of ASCII letters and digits.
    using NameMachine = std::function<std::string()>;

    /// The references must outlive the object.
    PresetCloudStore(KeyValueStore& store, MainThread& mainThread, SystemLog& log,
                     NameMachine nameMachine = randomMachineName);
    ~PresetCloudStore();
    PresetCloudStore(const PresetCloudStore&) = delete;
    PresetCloudStore& operator=(const PresetCloudStore&) = delete;

    /// 16 hexadecimal digits.
    static std::string randomMachineName();

    /// The shared list without presets that do not have exactly eight bands. Returns nullopt, not an empty
    /// list, when no list was ever shared or it cannot be decoded.
    std::optional<Presets> load();
    /// Replaces the shared list with `presets`. Keeps the previous list if `presets` cannot be written as
    /// JSON.
    void save(const Presets& presets);
    /// Shares an edit of the user. `presets` is the list after it, `edited` are the presets that were saved,
    /// renamed or deleted. Of the other presets the shared ones stay as they are, whatever their gains in
    /// `presets`; those that were never shared are shared now. If the shared list is not `presets`
    /// afterwards, this is reported as an external change.
    void save(const Presets& presets, const Presets& edited);
    /// Whether a preset of that name was shared and then deleted, as of the last load, save or change.
    bool isDeleted(std::string_view name) const { return view_.isDeleted(name); }

    /// A sentence for the user while the presets cannot be shared. Saving is tried again after 1 s, 2 s and
    /// so on, at most a minute apart.
    const Published<std::optional<std::string>>& problem() const { return problem_; }

    /// `action` runs with the new list after another machine has changed it. Lists that cannot be decoded are
    /// ignored.
    void setOnExternalChange(ExternalChangeAction action) { onExternalChange_ = std::move(action); }
    /// Starts observing changes from other machines and checks for existing ones. A second call does nothing.
    void startObserving();

private:
    using Version = KeyValueStore::Version;
    using Journals = std::map<std::string, std::shared_ptr<const PresetJournal>, std::less<>>;
    struct List;

    void externalChange();
    void refresh();
    void readLocalJournal();
    void takeLocalJournal(PresetJournal journal, bool isOwn);
    void readJournals();
    std::shared_ptr<const PresetJournal> readJournal(const std::string& key, const Version& version);
    std::vector<List> readLists();
    std::optional<List> readList(const Version& version);
    bool isUsedByAnother(const std::string& key, const std::string& text, const PresetJournal& journal) const;
    void refuse(std::string_view message, const Version& version);
    PresetLedger::Written writtenOf(const std::vector<List>& lists) const;
    void publish();
    std::optional<std::string> write();
    std::optional<std::string> writeJournalAndList();
    void planRetry(std::optional<std::string> failure);

    KeyValueStore& store_;
    MainThread& mainThread_;
    const Logger logger_;
    const NameMachine nameMachine_;
    bool isObserving_ = false;
    ExternalChangeAction onExternalChange_;
    Published<std::optional<std::string>> problem_;

    bool isLocalJournalRead_ = false;
    std::string machine_;      ///< empty until there is something to write
    std::string ownJournal_;   ///< as last written by this machine
    std::string localJournal_; ///< the same as it is in the local data, read or written
    PresetLedger ledger_;      ///< what the journals say
    PresetLedger view_;        ///< the same with the lists of unknown origin
    bool hasList_ = false;
    bool isUnshared_ = false;             ///< the store lacks something that the ledger holds
    Journals journals_;                   ///< those of the store by their text, all of them joined
    std::vector<Version> mergedJournals_; ///< of this machine
    std::vector<Version> mergedLists_;
    std::set<std::string, std::less<>> refusedCopies_; ///< hashes of those that were logged
    RetryDelay retryDelay_;
    TaskHandle retry_;
    TaskHandle announcement_;
};

} // namespace vello
