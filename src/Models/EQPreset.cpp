// SPDX-License-Identifier: Apache-2.0
#include "Models/EQPreset.h"

#include "Foundation/Localization.h"

#include <algorithm>
#include <utility>

namespace vello {
namespace {

struct Curve {
    EQPreset preset;
    std::string_view rawValue;
    std::string_view englishName;
    EQPreset::Gains gains;
};

constexpr std::array<Curve, 6> kCurves{{
    // TRANSLATORS: A curve that changes nothing.
    {EQPreset::flat, "flat", wordingKey("Flat"), {0, 0, 0, 0, 0, 0, 0, 0}},
    {EQPreset::reduceBass, "reduceBass", wordingKey("Reduce Bass"), {-6, -5, -3.5, -1.5, 0, 0, 0, 0}},
    {EQPreset::bassBoost, "bassBoost", wordingKey("Bass Boost"), {6, 5, 3.5, 1.5, 0, 0, 0, 0}},
    // TRANSLATORS: A curve for singing.
    {EQPreset::vocal, "vocal", wordingKey("Vocal"), {-2, -1, 0, 2, 4, 4, 2, 0}},
    {EQPreset::podcast, "podcast", wordingKey("Podcast"), {-6, -2, 1, 3, 4, 3, 2, 0}},
    // TRANSLATORS: A curve with more treble.
    {EQPreset::bright, "bright", wordingKey("Bright"), {0, 0, 0, 0, 1, 3, 5, 6}},
}};

template <std::size_t... Index> constexpr auto presets(std::index_sequence<Index...>) {
    return std::array{kCurves[Index].preset...};
}

constexpr auto kAllCases = presets(std::make_index_sequence<kCurves.size()>());
static_assert(std::ranges::all_of(kAllCases,
                                  [](EQPreset preset) { return kCurves[preset].preset == preset; }),
              "a curve stands at its case's place");

template <typename Predicate> std::optional<EQPreset> firstCurve(Predicate matches) noexcept {
    const auto curve = std::ranges::find_if(kCurves, matches);
    return curve == kCurves.end() ? std::nullopt : std::optional(curve->preset);
}

} // namespace

std::span<const EQPreset> EQPreset::allCases() noexcept {
    return kAllCases;
}

std::optional<EQPreset> EQPreset::fromRawValue(std::string_view rawValue) noexcept {
    return firstCurve([rawValue](const Curve& curve) { return curve.rawValue == rawValue; });
}

std::optional<EQPreset> EQPreset::matching(std::span<const double> gains) noexcept {
    return firstCurve([gains](const Curve& curve) { return std::ranges::equal(curve.gains, gains); });
}

std::string_view EQPreset::rawValue() const noexcept {
    return kCurves[case_].rawValue;
}

std::string EQPreset::displayName() const {
    return localized(kCurves[case_].englishName);
}

const EQPreset::Gains& EQPreset::bandGains() const noexcept {
    return kCurves[case_].gains;
}

} // namespace vello
