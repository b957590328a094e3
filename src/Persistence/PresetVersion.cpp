// SPDX-License-Identifier: Apache-2.0
#include "Persistence/PresetVersion.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace vello {
namespace {

const PresetVersion* findEdit(const std::vector<PresetVersion>& versions, const PresetEdit& edit) {
    const auto found = std::ranges::find(versions, edit, &PresetVersion::edit);
    return found == versions.end() ? nullptr : &*found;
}

/// One version on its way through two machines. They differ only in what was recognized since, unless two
/// machines use the same name.
PresetVersion joined(const PresetVersion& first, const PresetVersion& second) {
    PresetVersion result = first.rank() < second.rank() ? second : first;
    result.after.clear();
    std::ranges::set_intersection(first.after, second.after, std::inserter(result.after, result.after.end()));
    return result;
}

/// What is older than a version, now that some of the lists before it are recognized.
struct Older {
    PresetHistory surely;
    PresetHistory perhaps; ///< if the list was seen when it was written for the last time
};

Older recognized(PresetVersion& version, const WrittenLists& written) {
    Older older;
    std::set<std::string> visited;
    std::vector<std::string> open(version.after.begin(), version.after.end());
    version.after.clear();
    while (!open.empty()) {
        const std::string hash = std::move(open.back());
        open.pop_back();
        if (!visited.insert(hash).second)
            continue;
        if (const auto found = written.find(hash); found != written.end()) {
            older.surely.join(found->second.first);
            older.perhaps.join(found->second.seen);
            open.insert(open.end(), found->second.after.begin(), found->second.after.end());
        } else {
            version.after.insert(hash);
        }
    }
    return older;
}

using OlderBy = PresetHistory Older::*;
/// A version and what is older than it.
using Recognized = std::pair<PresetVersion, Older>;

/// Drops the versions that are older than another one by `history`. Of two that are older than each other the
/// greater one is kept, and one is kept in any case.
void dropOlder(std::vector<Recognized>& versions, OlderBy history) {
    const auto isOlder = [&](const Recognized& one, const Recognized& other) {
        return &one != &other && (other.second.*history).contains(one.first.edit);
    };
    const auto isDropped = [&](const Recognized& one) {
        return std::ranges::any_of(versions, [&](const Recognized& other) {
            return isOlder(one, other) && (!isOlder(other, one) || one.first.rank() < other.first.rank());
        });
    };
    std::vector<Recognized> kept;
    std::ranges::remove_copy_if(versions, std::back_inserter(kept), isDropped);
    if (!kept.empty())
        versions = std::move(kept);
}

} // namespace

void PresetListOrigin::join(const PresetListOrigin& other) {
    first.meet(other.first);
    seen.join(other.seen);
    after.insert(other.after.begin(), other.after.end());
}

const PresetVersion& shownOf(const std::vector<PresetVersion>& versions) {
    return *std::ranges::max_element(
        versions, [](const auto& first, const auto& second) { return first.rank() < second.rank(); });
}

bool areAllIn(const PresetHistory& history, const std::vector<PresetVersion>& versions) {
    return std::ranges::all_of(versions, [&](const auto& each) { return history.contains(each.edit); });
}

std::vector<PresetVersion> joined(const std::vector<PresetVersion>& mine, const PresetHistory& seen,
                                  const std::vector<PresetVersion>& theirs, const PresetHistory& theirSeen) {
    std::vector<PresetVersion> result;
    for (const PresetVersion& version : mine) {
        if (const PresetVersion* same = findEdit(theirs, version.edit))
            result.push_back(joined(version, *same));
        else if (!theirSeen.contains(version.edit))
            result.push_back(version);
    }
    for (const PresetVersion& version : theirs)
        if (!seen.contains(version.edit))
            result.push_back(version);
    std::ranges::sort(result, {}, &PresetVersion::edit);
    return result;
}

void recognizeIn(std::vector<PresetVersion>& versions, const WrittenLists& written) {
    std::vector<Recognized> all;
    for (PresetVersion& version : versions) {
        Older older = recognized(version, written);
        all.emplace_back(std::move(version), std::move(older));
    }
    dropOlder(all, &Older::surely);
    dropOlder(all, &Older::perhaps);
    versions.clear();
    for (Recognized& each : all)
        versions.push_back(std::move(each.first));
}

} // namespace vello
