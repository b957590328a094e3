// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/EQPreset.h"
#include "Persistence/PresetVersion.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vello {

/// The presets that all machines of a user share, with what is necessary to merge two of them: edits,
/// deletions and who knew of them. Machines that know of the same edits have the same list, in whichever
/// order they have learned of them. An edit is replaced only by one whose machine knew of it, or loses
/// against one at the same time, the same one on every machine.
///
/// The shared list itself is written by this program (its hash is then in the ledger of the machine) or by
/// another one that knows nothing of ledgers. A list of unknown origin changes the gains of presets and adds
/// presets, but deletes none. Its changes are forgotten as soon as some ledger turns out to have written it.
class PresetLedger {
public:
    using Presets = std::vector<UserEQPreset>;
    using Origin = PresetListOrigin;
    using Written = WrittenLists;
    using Versions = std::map<PresetKey, std::vector<PresetVersion>>;

    /// How a preset was changed by a list of unknown origin.
    struct Change {
        std::vector<double> bandGains;
        PresetOrder order;

        friend auto operator<=>(const Change&, const Change&) = default;
    };
    /// What was taken from a list of unknown origin. It holds for presets all of whose edits were known to
    /// every machine that took the list (`seen`).
    struct Taken {
        std::uint64_t at = 0; ///< later lists go before earlier ones
        PresetHistory seen;
        std::map<PresetKey, Change> changes;

        friend bool operator==(const Taken&, const Taken&) = default;
    };
    using TakenLists = std::map<std::string, Taken, std::less<>>;

    /// Short text by which a written list is recognized.
    static std::string hash(std::string_view text);

    PresetLedger() = default;
    PresetLedger(PresetHistory seen, Versions versions, TakenLists taken, Written written);

    const PresetHistory& seen() const { return seen_; }
    const Versions& versions() const { return versions_; }
    const TakenLists& taken() const { return taken_; }
    /// The lists that this ledger's machine has written, the latest 256.
    const Written& written() const { return written_; }
    /// Whether nothing was ever shared.
    bool isEmpty() const { return versions_.empty() && taken_.empty() && seen_.counts().empty(); }

    /// Learns everything that `other` knows, except for what it has written.
    void join(const PresetLedger& other);
    /// Hashes of the lists of unknown origin on which something here depends.
    std::set<std::string> unrecognized() const;
    /// Call after having joined the ledgers that wrote these lists. Forgets what was taken from them. With a
    /// list, `written` must have those that its origin names, as far as they are known.
    void recognize(const Written& written);
    /// Takes the changes of a list that is not known to have been written by a ledger.
    void take(const std::string& hash, const Presets& list);
    /// Remembers, for as long as the program runs, that the user has seen a list of unknown origin.
    void meet(const std::string& hash);
    /// Makes the edited presets what they are in `list`, by name; those that are not in it are deleted.
    /// Presets of `list` that were never shared are adopted. All others stay as they are here.
    void edit(const std::string& machine, const Presets& list, const Presets& edited);
    /// Remembers that this machine now writes the list.
    void write(const std::string& hash);

    /// Sorted by place.
    Presets list() const;
    /// Whether the name was shared and then deleted.
    bool isDeleted(std::string_view name) const;

private:
    struct Shown;
    using View = std::map<PresetKey, Shown>;

    View view() const;
    std::uint64_t clock() const;
    std::set<std::string> latestLists() const;
    void dropWhatIsOver();
    void remember(const std::string& hash, const Origin& origin);

    PresetHistory seen_;
    Versions versions_;
    TakenLists taken_;
    Written written_;
    std::vector<std::string> met_;
};

} // namespace vello
