// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/EQSettings.h"

#include <cstdint>
#include <span>

namespace vello {

/// A built-in curve.
class EQPreset {
public:
    using Gains = std::array<double, EQSettings::bandCount>;
    enum Case : std::uint8_t { flat, reduceBass, bassBoost, vocal, podcast, bright };

    constexpr EQPreset(Case preset) noexcept : case_(preset) {}

    /// All curves, in the order that menus and matching() use.
    static std::span<const EQPreset> allCases() noexcept;
    /// Returns nullopt if no curve has this raw value.
    static std::optional<EQPreset> fromRawValue(std::string_view rawValue) noexcept;
    /// The first curve with exactly these gains: same length, every value equal, without tolerance.
    static std::optional<EQPreset> matching(std::span<const double> gains) noexcept;

    /// Presets also compare through this conversion.
    constexpr operator Case() const noexcept { return case_; }
    /// Stable name, identical to the name of the enumerator.
    std::string_view rawValue() const noexcept;
    std::string_view id() const noexcept { return rawValue(); }
    /// Name for the user, translated if there is a translation.
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

    /// Lists and menus treat presets with the same name as the same preset.
    const std::string& id() const noexcept { return name; }

    friend bool operator==(const UserEQPreset&, const UserEQPreset&) = default;
};

} // namespace vello
