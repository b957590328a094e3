// SPDX-License-Identifier: Apache-2.0
#include "Persistence/PresetCloudStore.h"

#include "Foundation/Product.h"
#include "Foundation/RandomUUID.h"
#include "Models/SettingsCoding.h"
#include "Persistence/PresetListText.h"

#include <algorithm>
#include <chrono>

namespace vello {
namespace {

using namespace std::chrono_literals;

constexpr std::string_view kKey = "userEQPresets";
constexpr std::string_view kJournalPrefix = "userEQPresetsJournal";

std::string journalKey(std::string_view machine) {
    return std::string(kJournalPrefix).append(machine);
}

} // namespace

/// The shared list or a copy of it.
struct PresetCloudStore::List {
    std::string hash;
    Presets presets;
};

std::string PresetCloudStore::randomMachineName() {
    std::string name = randomUUID();
    std::erase(name, '-');
    return name.substr(0, 16);
}

PresetCloudStore::PresetCloudStore(KeyValueStore& store, MainThread& mainThread, SystemLog& log,
                                   NameMachine nameMachine)
    : store_(store), mainThread_(mainThread), logger_(log, kBundleIdentifier, "PresetCloudStore"),
      nameMachine_(std::move(nameMachine)) {}

PresetCloudStore::~PresetCloudStore() {
    if (isObserving_)
        store_.onDidChangeExternally(nullptr);
}

std::optional<PresetCloudStore::Presets> PresetCloudStore::load() {
    refresh();
    if (!hasList_ && view_.isEmpty())
        return std::nullopt;
    return view_.list();
}

void PresetCloudStore::save(const Presets& presets) {
    Presets edited = presets;
    refresh();
    for (UserEQPreset& preset : view_.list())
        edited.push_back(std::move(preset));
    save(presets, edited);
}

void PresetCloudStore::save(const Presets& presets, const Presets& edited) {
    try {
        encodePresets(presets);
    } catch (const CodingError& error) {
        logger_.error(std::string("Failed to encode presets for iCloud: ").append(error.what()));
        return;
    }
    refresh();
    if (machine_.empty())
        machine_ = nameMachine_();
    Presets sharable;
    std::ranges::copy_if(edited, std::back_inserter(sharable), canBeEncoded);
    view_.edit(machine_, presets, sharable);
    publish();
    if (view_.list() != presets)
        announcement_ = mainThread_.after(0s, [this] { externalChange(); });
}

void PresetCloudStore::startObserving() {
    if (isObserving_)
        return;
    isObserving_ = true;
    store_.onDidChangeExternally([this] { externalChange(); });
    store_.synchronize();
    if (isUnshared_)
        announcement_ = mainThread_.after(0s, [this] { externalChange(); });
}

void PresetCloudStore::externalChange() {
    const std::optional<Presets> presets = load();
    if (isUnshared_)
        publish();
    if (presets && onExternalChange_)
        onExternalChange_(*presets);
}

// Reading

void PresetCloudStore::refresh() {
    readLocalJournal();
    readJournals();
    const std::vector<List> lists = readLists();
    const PresetLedger::Written written = writtenOf(lists);
    const auto isUnknown = [&](const List& list) { return !written.contains(list.hash); };
    for (const List& list : lists)
        if (isUnknown(list))
            ledger_.meet(list.hash);
    // What is recognized depends on the journals that are there, so it holds for this moment, and for good
    // when it is written.
    view_ = ledger_;
    view_.recognize(written);
    for (const List& list : lists)
        if (isUnknown(list))
            view_.take(list.hash, list.presets);
}

/// Reads the journal at the start, and when another process has written it since.
void PresetCloudStore::readLocalJournal() {
    const bool isFirst = !std::exchange(isLocalJournalRead_, true);
    const auto local = store_.localData(kJournalPrefix);
    if (!local || (!isFirst && local->data == localJournal_))
        return;
    localJournal_ = local->data;
    machine_.clear();
    try {
        takeLocalJournal(decodeJournal(local->data), isFirst && !local->isCopied);
    } catch (const CodingError& error) {
        // The machine goes on under another name; the others still have what was shared.
        logger_.error(std::string("This machine's journal of presets undecodable: ").append(error.what()));
    }
}

/// Two that count their edits under one name would take each other's for their own. So the name is kept only
/// where nobody else can go on under it; what the journal knows holds in any case.
void PresetCloudStore::takeLocalJournal(PresetJournal journal, bool isOwn) {
    if (!isOwn)
        return ledger_.join(journal.ledger);
    machine_ = std::move(journal.machine);
    ledger_ = std::move(journal.ledger);
    ownJournal_ = localJournal_;
}

/// Joins the journals that are new. A name that another machine uses as well (a copied home folder) is given
/// up.
void PresetCloudStore::readJournals() {
    Journals journals;
    PresetHistory shared;
    bool isNameTaken = false;
    std::vector<std::shared_ptr<const PresetJournal>> added;
    mergedJournals_.clear();
    for (const std::string& key : store_.keys(kJournalPrefix))
        for (const Version& version : store_.versions(key)) {
            const auto journal = readJournal(key, version);
            if (!journal)
                continue;
            shared.join(journal->ledger.seen());
            isNameTaken = isNameTaken || isUsedByAnother(key, version.data, *journal);
            if (!journals_.contains(version.data))
                added.push_back(journal);
            journals.emplace(version.data, journal);
        }
    for (const auto& journal : added)
        ledger_.join(journal->ledger);
    journals_ = std::move(journals);
    if (isNameTaken)
        machine_.clear();
    isUnshared_ = std::ranges::any_of(
        ledger_.seen().counts(), [&](const auto& entry) { return shared.count(entry.first) < entry.second; });
}

std::shared_ptr<const PresetJournal> PresetCloudStore::readJournal(const std::string& key,
                                                                   const Version& version) {
    const auto known = journals_.find(version.data);
    std::shared_ptr<const PresetJournal> journal = known == journals_.end() ? nullptr : known->second;
    try {
        if (!journal)
            journal = std::make_shared<PresetJournal>(decodeJournal(version.data));
    } catch (const CodingError& error) {
        refuse(std::string("A journal of presets undecodable: ").append(error.what()), {version.data, true});
        return nullptr;
    }
    if (!machine_.empty() && key == journalKey(machine_))
        mergedJournals_.push_back(version);
    return journal;
}

bool PresetCloudStore::isUsedByAnother(const std::string& key, const std::string& text,
                                       const PresetJournal& journal) const {
    if (machine_.empty() || text == ownJournal_)
        return false;
    const std::uint64_t theirs = journal.ledger.seen().count(machine_);
    const std::uint64_t mine = ledger_.seen().count(machine_);
    return theirs > mine || (key == journalKey(machine_) && theirs == mine);
}

std::vector<PresetCloudStore::List> PresetCloudStore::readLists() {
    hasList_ = false;
    mergedLists_.clear();
    std::vector<List> lists;
    for (const Version& version : store_.versions(kKey))
        if (auto list = readList(version)) {
            hasList_ = true;
            lists.push_back(std::move(*list));
        }
    return lists;
}

/// A copy that is not understood completely is what was put aside for a later version of this program. It
/// stays, and it is not read again and again.
std::optional<PresetCloudStore::List> PresetCloudStore::readList(const Version& version) {
    const auto hasOtherBands = [](const UserEQPreset& preset) {
        return preset.bandGains.size() != EQSettings::bandCount;
    };
    try {
        List list{PresetLedger::hash(version.data), decodePresets(version.data)};
        const bool isComplete = std::erase_if(list.presets, hasOtherBands) == 0;
        if (!isComplete && version.isCopy)
            return std::nullopt;
        if (isComplete)
            mergedLists_.push_back(version);
        return list;
    } catch (const CodingError& error) {
        refuse(std::string("iCloud presets undecodable: ").append(error.what()), version);
        return std::nullopt;
    }
}

/// A copy is logged once, because it stays.
void PresetCloudStore::refuse(std::string_view message, const Version& version) {
    if (!version.isCopy || refusedCopies_.insert(PresetLedger::hash(version.data)).second)
        logger_.error(message);
}

/// Those lists that journals have written, among the ones that somebody asks about.
PresetLedger::Written PresetCloudStore::writtenOf(const std::vector<List>& lists) const {
    PresetLedger::Written written;
    const auto findIn = [&](const PresetLedger& ledger, const std::string& hash) {
        if (const auto found = ledger.written().find(hash); found != ledger.written().end())
            if (const auto [known, isNew] = written.emplace(*found); !isNew)
                known->second.join(found->second);
    };
    std::set<std::string> open = ledger_.unrecognized();
    for (const List& list : lists)
        open.insert(list.hash);
    for (std::set<std::string> visited; !open.empty();) {
        const std::string hash = *open.begin();
        open.erase(open.begin());
        if (!visited.insert(hash).second)
            continue;
        findIn(ledger_, hash);
        for (const auto& [text, journal] : journals_)
            findIn(journal->ledger, hash);
        if (const auto found = written.find(hash); found != written.end())
            open.insert(found->second.after.begin(), found->second.after.end());
    }
    return written;
}

// Writing

void PresetCloudStore::publish() {
    ledger_ = view_;
    std::optional<std::string> failure = write();
    view_ = ledger_;
    store_.synchronize();
    planRetry(failure ? "presets not shared, because " + *failure : failure);
}

std::optional<std::string> PresetCloudStore::write() {
    if (machine_.empty())
        machine_ = nameMachine_();
    try {
        return writeJournalAndList();
    } catch (const CodingError& error) {
        return error.what();
    }
}

/// The journal of this machine alone comes first: it holds the edit also while the shared folder is away.
std::optional<std::string> PresetCloudStore::writeJournalAndList() {
    const std::string list = encodePresets(ledger_.list());
    ledger_.write(PresetLedger::hash(list));
    ownJournal_ = encodeJournal({machine_, ledger_});
    std::optional<std::string> local = store_.setLocalData(kJournalPrefix, ownJournal_);
    if (!local)
        localJournal_ = ownJournal_;
    if (auto failure = store_.setData(journalKey(machine_), ownJournal_, mergedJournals_))
        return failure;
    auto failure = store_.setData(kKey, list, mergedLists_);
    return failure ? failure : local;
}

void PresetCloudStore::planRetry(std::optional<std::string> failure) {
    if (!failure) {
        retry_.reset();
        retryDelay_.reset();
    } else {
        logger_.error(*failure);
        retry_ = mainThread_.after(retryDelay_.next(), [this] {
            refresh();
            publish();
        });
    }
    problem_.set(std::move(failure));
}

} // namespace vello
