// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/EQSettings.h"

#include <cstdint>
#include <span>

namespace vello {

/// A built-in curve. Compares and hashes by its raw value.
class EQPreset {
public:
    using Gains = std::array<double, EQSettings::bandCount>;
    enum Case : std::uint8_t { flat, reduceBass, bassBoost, vocal, podcast, bright };

    constexpr EQPreset(Case preset) noexcept : case_(preset) {}

    /// All curves in the order of menus and of matching().
    static std::span<const EQPreset> allCases() noexcept;
    /// Absent for a raw value that names no curve.
    static std::optional<EQPreset> fromRawValue(std::string_view rawValue) noexcept;
    /// The first curve with exactly these gains: same length, every value exactly equal. No tolerance.
    static std::optional<EQPreset> matching(std::span<const double> gains) noexcept;

    /// Also the comparison: two presets are equal when their cases are.
    constexpr operator Case() const noexcept { return case_; }
    /// Stable name, also the case's name in the code.
    std::string_view rawValue() const noexcept;
    std::string_view id() const noexcept { return rawValue(); }
    /// Name for the user, in the user's language where there is a translation.
    std::string displayName() const;
    /// Gain of each band in dB.
    const Gains& bandGains() const noexcept;

private:
    Case case_;
};

/// A curve that the user saved.
struct UserEQPreset {
    std::string name;
    std::vector<double> bandGains; ///< dB

    /// Two presets of one name are the same preset for lists and menus.
    const std::string& id() const noexcept { return name; }

    friend bool operator==(const UserEQPreset&, const UserEQPreset&) = default;
};

} // namespace vello

template <> struct std::hash<vello::EQPreset> {
    std::size_t operator()(vello::EQPreset preset) const noexcept;
};
template <> struct std::hash<vello::UserEQPreset> {
    std::size_t operator()(const vello::UserEQPreset& preset) const noexcept;
};
