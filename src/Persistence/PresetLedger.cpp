// SPDX-License-Identifier: Apache-2.0
#include "Persistence/PresetLedger.h"

#include "Persistence/PresetPlaces.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <optional>
#include <utility>

namespace vello {
namespace {

constexpr std::size_t kMostWritten = 256;
constexpr std::size_t kMostTaken = 64; ///< lists of which nothing holds any more
constexpr std::size_t kMostAfter = 16;

/// Presets with the keys that they have in their list.
std::vector<std::pair<PresetKey, const UserEQPreset*>> keyed(const PresetLedger::Presets& list) {
    std::map<std::string_view, std::uint32_t> ordinals;
    std::vector<std::pair<PresetKey, const UserEQPreset*>> result;
    result.reserve(list.size());
    for (const UserEQPreset& preset : list)
        result.emplace_back(PresetKey{preset.name, ordinals[preset.name]++}, &preset);
    return result;
}

void join(PresetLedger::Taken& mine, const PresetLedger::Taken& theirs) {
    mine.at = std::max(mine.at, theirs.at);
    mine.seen.meet(theirs.seen);
    for (const auto& [key, change] : theirs.changes)
        if (const auto [known, isNew] = mine.changes.emplace(key, change); !isNew)
            known->second = std::max(known->second, change);
}

/// Removes the entries with the smallest `age` beyond `most`.
template <class Map, class Age> void keepLatest(Map& map, std::size_t most, Age age) {
    while (map.size() > most)
        map.erase(std::ranges::min_element(map, {}, [&](const auto& entry) {
            return std::pair(age(entry.second), std::string_view(entry.first));
        }));
}

} // namespace

/// A preset as it is seen.
struct PresetLedger::Shown {
    bool isDeleted = false;
    std::vector<double> bandGains;
    PresetOrder order;
};

std::string PresetLedger::hash(std::string_view text) {
    std::uint64_t hash = 14695981039346656037U; // FNV-1a
    for (const char character : text)
        hash = (hash ^ static_cast<unsigned char>(character)) * 1099511628211U;
    char digits[17];
    std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(hash));
    return digits;
}

PresetLedger::PresetLedger(PresetHistory seen, Versions versions, TakenLists taken, Written written)
    : seen_(std::move(seen)), versions_(std::move(versions)), taken_(std::move(taken)),
      written_(std::move(written)) {}

void PresetLedger::join(const PresetLedger& other) {
    if (other.seen_ != seen_ || other.versions_ != versions_) {
        static const std::vector<PresetVersion> none;
        for (auto& [key, versions] : versions_) {
            const auto theirs = other.versions_.find(key);
            versions =
                joined(versions, seen_, theirs == other.versions_.end() ? none : theirs->second, other.seen_);
        }
        for (const auto& [key, theirs] : other.versions_)
            if (!versions_.contains(key))
                versions_[key] = joined(none, seen_, theirs, other.seen_);
        std::erase_if(versions_, [](const auto& entry) { return entry.second.empty(); });
        seen_.join(other.seen_);
    }
    for (const auto& [hash, theirs] : other.taken_)
        if (const auto [mine, isNew] = taken_.emplace(hash, theirs); !isNew)
            vello::join(mine->second, theirs);
    dropWhatIsOver();
}

void PresetLedger::recognize(const Written& written) {
    std::erase_if(taken_, [&](const auto& entry) {
        const auto found = written.find(entry.first);
        if (found == written.end())
            return false;
        // Another machine may bring the list back after its writer has forgotten it.
        remember(entry.first, found->second);
        return true;
    });
    for (auto& [key, versions] : versions_)
        if (std::ranges::any_of(versions, [](const auto& each) { return !each.after.empty(); }))
            recognizeIn(versions, written);
}

void PresetLedger::remember(const std::string& hash, const Origin& origin) {
    if (const auto [known, isNew] = written_.emplace(hash, origin); !isNew)
        known->second.join(origin);
    keepLatest(written_, kMostWritten, [](const Origin& each) { return each.seen.latest(); });
}

void PresetLedger::dropWhatIsOver() {
    std::size_t over = 0;
    for (auto& [hash, list] : taken_) {
        std::erase_if(list.changes, [&](const auto& change) {
            const auto found = versions_.find(change.first);
            return found != versions_.end() && !areAllIn(list.seen, found->second);
        });
        over += list.changes.empty() ? 1U : 0U;
    }
    for (; over > kMostTaken; --over)
        taken_.erase(std::ranges::min_element(taken_, {}, [](const auto& entry) {
            return std::tuple(!entry.second.changes.empty(), entry.second.at, std::string_view(entry.first));
        }));
}

PresetLedger::View PresetLedger::view() const {
    View view;
    for (const auto& [key, versions] : versions_) {
        const PresetVersion& shown = shownOf(versions);
        view[key] = {shown.kind == PresetVersion::Kind::deleted, shown.bandGains, shown.order};
    }
    std::vector<const Taken*> lists;
    for (const auto& [hash, list] : taken_)
        lists.push_back(&list);
    std::ranges::stable_sort(lists, {}, [](const Taken* list) { return list->at; });
    for (const Taken* list : lists)
        for (const auto& [key, change] : list->changes) {
            const auto versions = versions_.find(key);
            if (versions == versions_.end() || areAllIn(list->seen, versions->second))
                view[key] = {false, change.bandGains, change.order};
        }
    return view;
}

std::uint64_t PresetLedger::clock() const {
    std::uint64_t clock = seen_.latest();
    for (const auto& [hash, list] : taken_)
        clock = std::max(clock, list.at);
    return clock + 1;
}

void PresetLedger::meet(const std::string& hash) {
    std::erase(met_, hash);
    met_.push_back(hash);
    if (met_.size() > kMostAfter)
        met_.erase(met_.begin());
}

void PresetLedger::take(const std::string& hash, const Presets& list) {
    if (taken_.contains(hash))
        return;
    const View view = this->view();
    const auto keys = keyed(list);
    const auto isKnown = [&](const PresetKey& key, const UserEQPreset& preset) {
        const auto shown = view.find(key);
        return shown != view.end() && shown->second.bandGains == preset.bandGains;
    };
    std::set<PresetKey> changed;
    for (const auto& [key, preset] : keys)
        if (!isKnown(key, *preset))
            changed.insert(key);
    PresetPlaces places(clock(), {});
    for (const auto& [key, shown] : view)
        if (!shown.isDeleted && !changed.contains(key))
            places.add(shown.order);
    Taken taken{clock(), seen_, {}};
    PresetOrder last;
    for (const auto& [key, preset] : keys) {
        if (changed.contains(key))
            taken.changes[key] = {preset->bandGains, last = places.after(last)};
        else if (const Shown& shown = view.at(key); !shown.isDeleted)
            last = shown.order;
    }
    taken_.emplace(hash, std::move(taken));
}

std::set<std::string> PresetLedger::unrecognized() const {
    std::set<std::string> hashes;
    for (const auto& [hash, list] : taken_)
        hashes.insert(hash);
    for (const auto& [key, versions] : versions_)
        for (const PresetVersion& version : versions)
            hashes.insert(version.after.begin(), version.after.end());
    return hashes;
}

/// What an edit is made with: whoever edits has seen them.
std::set<std::string> PresetLedger::latestLists() const {
    std::vector<std::pair<std::uint64_t, std::string>> lists;
    for (const auto& [hash, list] : taken_)
        lists.emplace_back(list.at, hash);
    std::ranges::sort(lists, std::greater<>());
    lists.resize(std::min(lists.size(), kMostAfter));
    std::set<std::string> hashes(met_.begin(), met_.end());
    for (auto& [at, hash] : lists)
        hashes.insert(std::move(hash));
    return hashes;
}

void PresetLedger::edit(const std::string& machine, const Presets& list, const Presets& edited) {
    const PresetEdit edit{clock(), machine};
    const auto after = latestLists();
    const View view = this->view();
    const auto isEdited = [&](const PresetKey& key) {
        return std::ranges::find(edited, key.name, &UserEQPreset::name) != edited.end();
    };
    const auto put = [&](const PresetKey& key, PresetVersion::Kind kind, std::vector<double> gains,
                         PresetOrder order) {
        // A preset is adopted because nothing is known of it, so it replaces nothing.
        const bool replaces = kind != PresetVersion::Kind::adopted;
        versions_[key] = {
            {edit, kind, std::move(gains), std::move(order), replaces ? after : std::set<std::string>()}};
    };
    PresetPlaces places(edit.count, machine);
    for (const auto& [key, shown] : view)
        if (!shown.isDeleted && !isEdited(key))
            places.add(shown.order);

    std::set<PresetKey> present;
    PresetOrder last;
    const auto keys = keyed(list);
    for (const auto& [key, preset] : keys)
        present.insert(key);
    // A preset with a new name keeps the place of the one that is gone.
    const auto renamedPlace = [&](const UserEQPreset& preset,
                                  const PresetOrder& before) -> std::optional<PresetOrder> {
        for (const auto& [key, shown] : view)
            if (isEdited(key) && !present.contains(key) && !shown.isDeleted && before < shown.order &&
                shown.bandGains == preset.bandGains)
                return shown.order;
        return std::nullopt;
    };
    for (const auto& [key, preset] : keys) {
        const auto shown = view.find(key);
        if (isEdited(key)) {
            const auto kept = renamedPlace(*preset, last);
            last = kept ? *kept : preset == &list.back() ? places.atEnd() : places.after(last);
            put(key, PresetVersion::Kind::saved, preset->bandGains, last);
        } else if (shown == view.end()) {
            last = places.after(last);
            put(key, PresetVersion::Kind::adopted, preset->bandGains, last);
        } else if (!shown->second.isDeleted) {
            last = shown->second.order;
        }
    }
    for (const auto& [key, shown] : view)
        if (isEdited(key) && !present.contains(key))
            put(key, PresetVersion::Kind::deleted, shown.bandGains, shown.order);
    for (const auto& [key, preset] : keyed(edited))
        if (!present.contains(key) && !view.contains(key))
            put(key, PresetVersion::Kind::deleted, preset->bandGains, {});
    seen_.add(edit);
    dropWhatIsOver();
}

void PresetLedger::write(const std::string& hash) {
    // A list that somebody else has written before is still of unknown origin.
    if (!taken_.contains(hash))
        remember(hash, {seen_, seen_, latestLists()});
}

PresetLedger::Presets PresetLedger::list() const {
    const View view = this->view();
    std::vector<View::const_pointer> entries;
    for (const auto& entry : view)
        if (!entry.second.isDeleted)
            entries.push_back(&entry);
    std::ranges::stable_sort(entries, [](const auto* first, const auto* second) {
        return first->second.order < second->second.order;
    });
    Presets list;
    for (const auto* entry : entries)
        list.push_back({entry->first.name, entry->second.bandGains});
    return list;
}

bool PresetLedger::isDeleted(std::string_view name) const {
    const View view = this->view();
    bool isKnown = false;
    for (auto entry = view.lower_bound(PresetKey{std::string(name), 0});
         entry != view.end() && entry->first.name == name; ++entry) {
        if (!entry->second.isDeleted)
            return false;
        isKnown = true;
    }
    return isKnown;
}

} // namespace vello
