// SPDX-License-Identifier: Apache-2.0
#include "Persistence/PresetJournal.h"

#include "Models/EQSettings.h"
#include "Models/SettingsCoding.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace vello {
namespace {

using nlohmann::json;
using nlohmann::ordered_json;

constexpr std::uint64_t kJournalVersion = 1;
/// The largest integer that every JSON implementation keeps.
constexpr std::uint64_t kLargestCount = (std::uint64_t{1} << 53U) - 1;
constexpr std::size_t kLongestOrder = 1024;
/// In the order of PresetVersion::Kind.
constexpr std::array<std::string_view, 3> kKinds{"adopted", "deleted", "saved"};

// The machines' names are written once; elsewhere a machine is its index in that list.
using Machines = std::vector<std::string>;

ordered_json encodeHistory(const PresetHistory& history, const Machines& machines) {
    auto counts = ordered_json::array();
    for (const std::string& machine : machines)
        counts.push_back(history.count(machine));
    return counts;
}

ordered_json encodePreset(const PresetKey& key, const std::vector<double>& gains, const PresetOrder& order) {
    return {{"name", key.name}, {"ordinal", key.ordinal}, {"bandGains", gains}, {"order", order}};
}

ordered_json encodeVersion(const PresetKey& key, const PresetVersion& version, const Machines& machines) {
    ordered_json value = encodePreset(key, version.bandGains, version.order);
    value["kind"] = kKinds.at(static_cast<std::size_t>(version.kind));
    value["machine"] = std::ranges::find(machines, version.edit.machine) - machines.begin();
    value["count"] = version.edit.count;
    if (!version.after.empty())
        value["after"] = version.after;
    return value;
}

ordered_json encodeTaken(const std::string& hash, const PresetLedger::Taken& list, const Machines& machines) {
    auto changes = ordered_json::array();
    for (const auto& [key, change] : list.changes)
        changes.push_back(encodePreset(key, change.bandGains, change.order));
    return {{"hash", hash},
            {"at", list.at},
            {"seen", encodeHistory(list.seen, machines)},
            {"changes", std::move(changes)}};
}

/// There are many of them, so they are short: the hash, the counts, and if they are not the same or empty,
/// the hashes before it and the counts of the first time.
ordered_json encodeWritten(const std::string& hash, const PresetLedger::Origin& origin,
                           const Machines& machines) {
    auto entry = ordered_json::array({hash, encodeHistory(origin.seen, machines)});
    const bool isRepeated = origin.first != origin.seen;
    if (isRepeated || !origin.after.empty())
        entry.push_back(origin.after);
    if (isRepeated)
        entry.push_back(encodeHistory(origin.first, machines));
    return entry;
}

const json& journalMember(const json& object, const char* key) {
    if (!object.is_object())
        throw CodingError("a part of a journal is not an object");
    const auto member = object.find(key);
    if (member == object.end())
        throw CodingError(std::string("a journal has no \"").append(key).append("\""));
    return *member;
}

const json& listIn(const json& object, const char* key) {
    const json& list = journalMember(object, key);
    if (!list.is_array())
        throw CodingError(std::string("\"").append(key).append("\" of a journal is not an array"));
    return list;
}

std::uint64_t decodeNumber(const json& value, std::uint64_t most) {
    if (!value.is_number_unsigned() || value.get<std::uint64_t>() > most)
        throw CodingError("a number of a journal is not in its range");
    return value.get<std::uint64_t>();
}

std::string decodeText(const json& value) {
    if (!value.is_string())
        throw CodingError("a text of a journal is not a string");
    return value.get<std::string>();
}

std::string decodeHash(const json& value) {
    std::string hash = decodeText(value);
    if (hash.size() != 16)
        throw CodingError("a hash of a journal has another length");
    return hash;
}

PresetHistory decodeHistory(const json& array, const Machines& machines) {
    if (!array.is_array() || array.size() != machines.size())
        throw CodingError("a history of a journal does not fit its machines");
    PresetHistory history;
    for (std::size_t i = 0; i < machines.size(); ++i)
        if (const auto count = decodeNumber(array[i], kLargestCount); count > 0)
            history.add({count, machines[i]});
    return history;
}

PresetOrder decodeOrder(const json& value) {
    if (!value.is_array() || value.size() > kLongestOrder)
        throw CodingError("a place of a journal is not a list of numbers");
    PresetOrder order;
    for (const json& element : value)
        order.push_back(
            static_cast<std::uint32_t>(decodeNumber(element, std::numeric_limits<std::uint32_t>::max())));
    if (!order.empty() && order.back() == 0)
        throw CodingError("a place of a journal ends with 0");
    return order;
}

PresetKey decodeKey(const json& value) {
    return {decodeText(journalMember(value, "name")),
            static_cast<std::uint32_t>(decodeNumber(journalMember(value, "ordinal"), 1U << 30U))};
}

std::vector<double> decodeGains(const json& value) {
    std::vector<double> gains = decodeUserPreset(value).bandGains;
    if (gains.size() != EQSettings::bandCount)
        throw CodingError("a preset of a journal has another number of bands");
    return gains;
}

PresetVersion::Kind decodeKind(const json& value) {
    const auto found = std::ranges::find(kKinds, decodeText(value));
    if (found == kKinds.end())
        throw CodingError("a preset of a journal is of an unknown kind");
    return static_cast<PresetVersion::Kind>(found - kKinds.begin());
}

std::set<std::string> decodeHashes(const json& list) {
    if (!list.is_array())
        throw CodingError("the hashes of a journal are not an array");
    std::set<std::string> hashes;
    for (const json& hash : list)
        hashes.insert(decodeHash(hash));
    return hashes;
}

PresetVersion decodeVersion(const json& value, const Machines& machines) {
    PresetVersion version;
    version.kind = decodeKind(journalMember(value, "kind"));
    version.bandGains = decodeGains(value);
    version.order = decodeOrder(journalMember(value, "order"));
    if (machines.empty())
        throw CodingError("a journal has no machines");
    version.edit = {decodeNumber(journalMember(value, "count"), kLargestCount),
                    machines[decodeNumber(journalMember(value, "machine"), machines.size() - 1)]};
    if (value.contains("after"))
        version.after = decodeHashes(value["after"]);
    return version;
}

PresetLedger::Taken decodeTaken(const json& value, const Machines& machines) {
    PresetLedger::Taken list{.at = decodeNumber(journalMember(value, "at"), kLargestCount),
                             .seen = decodeHistory(journalMember(value, "seen"), machines),
                             .changes = {}};
    for (const json& change : listIn(value, "changes"))
        list.changes[decodeKey(change)] = {decodeGains(change), decodeOrder(journalMember(change, "order"))};
    return list;
}

void decodeWritten(const json& entry, const Machines& machines, PresetLedger::Written& written) {
    if (!entry.is_array() || entry.size() < 2)
        throw CodingError("a written list of a journal is not described");
    const PresetHistory seen = decodeHistory(entry[1], machines);
    PresetLedger::Origin origin{seen, seen, {}};
    if (entry.size() > 2)
        origin.after = decodeHashes(entry[2]);
    if (entry.size() > 3)
        origin.first = decodeHistory(entry[3], machines);
    written[decodeHash(entry[0])] = std::move(origin);
}

PresetLedger decodeLedger(const json& value, const Machines& machines) {
    PresetHistory seen = decodeHistory(journalMember(value, "seen"), machines);
    PresetLedger::Versions versions;
    for (const json& each : listIn(value, "presets")) {
        PresetVersion version = decodeVersion(each, machines);
        if (!seen.contains(version.edit))
            throw CodingError("a journal has an edit that it does not know of");
        versions[decodeKey(each)].push_back(std::move(version));
    }
    PresetLedger::TakenLists taken;
    for (const json& each : listIn(value, "lists"))
        taken[decodeHash(journalMember(each, "hash"))] = decodeTaken(each, machines);
    PresetLedger::Written written;
    for (const json& each : listIn(value, "written"))
        decodeWritten(each, machines, written);
    return {std::move(seen), std::move(versions), std::move(taken), std::move(written)};
}

} // namespace

std::string encodeJournal(const PresetJournal& journal) {
    const PresetLedger& ledger = journal.ledger;
    Machines machines;
    for (const auto& [machine, count] : ledger.seen().counts())
        machines.push_back(machine);
    auto presets = ordered_json::array();
    for (const auto& [key, versions] : ledger.versions())
        for (const PresetVersion& version : versions)
            presets.push_back(encodeVersion(key, version, machines));
    auto lists = ordered_json::array();
    for (const auto& [hash, list] : ledger.taken())
        lists.push_back(encodeTaken(hash, list, machines));
    auto written = ordered_json::array();
    for (const auto& [hash, origin] : ledger.written())
        written.push_back(encodeWritten(hash, origin, machines));
    const ordered_json value{
        {"version", kJournalVersion},    {"machine", journal.machine},
        {"machines", machines},          {"seen", encodeHistory(ledger.seen(), machines)},
        {"presets", std::move(presets)}, {"lists", std::move(lists)},
        {"written", std::move(written)}};
    return writeJSON(value, JSONLayout::compact);
}

PresetJournal decodeJournal(std::string_view text) {
    const json value = parseJSON(text);
    if (decodeNumber(journalMember(value, "version"), kLargestCount) != kJournalVersion)
        throw CodingError("the journal is of another version");
    Machines machines;
    for (const json& machine : listIn(value, "machines"))
        machines.push_back(decodeText(machine));
    PresetJournal journal{decodeText(journalMember(value, "machine")), decodeLedger(value, machines)};
    if (journal.machine.empty())
        throw CodingError("the journal is of no machine");
    return journal;
}

} // namespace vello
