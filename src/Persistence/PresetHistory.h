// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>

namespace vello {

/// One save of one machine. The counts of a machine grow; a save is counted higher than everything that its
/// machine knew of.
struct PresetEdit {
    std::uint64_t count = 0;
    std::string machine;

    friend auto operator<=>(const PresetEdit&, const PresetEdit&) = default;
};

/// What a machine knows of: of each machine, all saves up to a count (a version vector).
class PresetHistory {
public:
    using Counts = std::map<std::string, std::uint64_t, std::less<>>;

    PresetHistory() = default;
    explicit PresetHistory(Counts counts) : counts_(std::move(counts)) {}

    bool contains(const PresetEdit& edit) const { return count(edit.machine) >= edit.count; }
    std::uint64_t count(std::string_view machine) const;
    std::uint64_t latest() const;
    void add(const PresetEdit& edit);
    void join(const PresetHistory& other);
    /// Keeps what both contain.
    void meet(const PresetHistory& other);
    const Counts& counts() const { return counts_; }

    friend bool operator==(const PresetHistory&, const PresetHistory&) = default;

private:
    Counts counts_;
};

} // namespace vello
