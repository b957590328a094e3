// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Foundation/Hashing.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vello {

/// Source id of the system-wide entry: it has no tap of its own, its settings are those of every application
/// whose own settings are neutral.
inline constexpr std::string_view kSystemSourceID = "eq-by-quorvin.system.master";

/// How one source is to be equalized. Values are kept exactly as set or decoded, never clamped.
struct EQSettings {
    static constexpr std::size_t bandCount = 8;
    /// Centre of each band in Hz. Every array of gains is indexed alike.
    static constexpr std::array<double, bandCount> bandFrequencies{63, 125, 250, 500, 1000, 2000, 4000, 8000};

    /// Gain of each band in dB. Decoding keeps whatever length it finds; whoever writes settings writes
    /// bandCount.
    std::vector<double> bandGains = std::vector<double>(bandCount, 0.0);
    /// Equalizer and volume are switched off for this source.
    bool isBypassed = false;
    /// Linear gain after the equalizer; 1 leaves the sound unchanged.
    double volume = 1.0;
    /// Device that this source plays to; absent: the system's default output.
    std::optional<std::string> outputDeviceUID = {};
    /// Streams of more than two channels are taken as well, as two, also where the device would play them
    /// all.
    bool downmixesSurround = false;

    /// Every gain is exactly 0 dB; so for no gains at all.
    bool isFlat() const;
    /// Nothing of the sound was ever changed: flat, volume exactly 1, no device chosen, not bypassed. Being
    /// downmixed does not count: it says what is captured, not how it is to sound.
    bool isNeutral() const;
    /// Makes the curve flat and leaves everything else as it is.
    void reset();

    /// Short label of a band: "63" ... "500", "1K" ... "8K". `index` is below bandCount, else the process
    /// ends.
    static std::string bandLabel(std::size_t index);
    /// What a source's tap uses: `system` as a whole while `own` is neutral, else `own` as a whole; whether
    /// it is downmixed is always its own matter. The system-wide entry itself (`isSystem`) always uses `own`.
    static EQSettings effective(const EQSettings& own, const EQSettings& system, bool isSystem);

    friend bool operator==(const EQSettings&, const EQSettings&) = default;
};

} // namespace vello

template <> struct std::hash<vello::EQSettings> {
    std::size_t operator()(const vello::EQSettings& settings) const noexcept;
};
