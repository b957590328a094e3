// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Persistence/PresetHistory.h"
#include "Persistence/PresetOrder.h"

#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

namespace vello {

/// Presets of the same name are told apart by their position among them.
struct PresetKey {
    std::string name;
    std::uint32_t ordinal = 0;

    friend auto operator<=>(const PresetKey&, const PresetKey&) = default;
};

/// What an edit made of a preset.
struct PresetVersion {
    /// Of versions that do not know of each other, the kind that comes last here is shown.
    enum class Kind {
        adopted, ///< a preset of one machine that was shared together with others, without having been edited
        deleted,
        saved,
    };

    PresetEdit edit;
    Kind kind = Kind::saved;
    std::vector<double> bandGains; ///< dB; of a deleted preset, those that it had
    PresetOrder order;
    /// Hashes of lists that the edit's machine had seen without knowing who wrote them.
    std::set<std::string> after = {};

    /// Which of two versions that do not know of each other is shown: the greater one.
    auto rank() const { return std::tie(kind, edit, bandGains, order); }
    friend bool operator==(const PresetVersion&, const PresetVersion&) = default;
};

/// What the machines knew of that wrote a list. The same list may be written several times.
struct PresetListOrigin {
    PresetHistory first;         ///< all of them, each time
    PresetHistory seen;          ///< at least one of them, at last
    std::set<std::string> after; ///< hashes of the lists of unknown origin that it had seen

    void join(const PresetListOrigin& other);
    friend bool operator==(const PresetListOrigin&, const PresetListOrigin&) = default;
};
/// Lists that ledgers have written, by hash.
using WrittenLists = std::map<std::string, PresetListOrigin, std::less<>>;

/// The version that is shown. There must be one.
const PresetVersion& shownOf(const std::vector<PresetVersion>& versions);
/// Whether the history knows of all of them.
bool areAllIn(const PresetHistory& history, const std::vector<PresetVersion>& versions);
/// Keeps what both have, and what the other one does not know of. What one has no longer, although it knows
/// of it, was replaced there.
std::vector<PresetVersion> joined(const std::vector<PresetVersion>& mine, const PresetHistory& seen,
                                  const std::vector<PresetVersion>& theirs, const PresetHistory& theirSeen);
/// Drops the versions that turn out to be older than another one, because it was made after a list that is
/// among `written`.
void recognizeIn(std::vector<PresetVersion>& versions, const WrittenLists& written);

} // namespace vello
