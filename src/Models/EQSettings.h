// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vello {

/// Source id of the system-wide entry. It has no tap. Its settings apply to every application whose own
/// settings are neutral.
inline constexpr std::string_view kSystemSourceID = "eq-by-quorvin.system.master";

/// The settings of one source. Values are kept exactly as set or decoded, never clamped.
struct EQSettings {
    static constexpr std::size_t bandCount = 8;
    /// Centre of each band in Hz. Arrays of gains use the same index.
    static constexpr std::array<double, bandCount> bandFrequencies{63, 125, 250, 500, 1000, 2000, 4000, 8000};

    /// Gain of each band in dB. Decoding keeps any length; code that sets gains sets bandCount of them.
    std::vector<double> bandGains = std::vector<double>(bandCount, 0.0);
    /// Switches the equalizer off for this source; the volume still applies.
    bool isBypassed = false;
    /// Linear gain after the equalizer; 1 leaves the sound unchanged.
    double volume = 1.0;
    /// Device that this source plays to; nullopt: chosen automatically.
    std::optional<std::string> outputDeviceUID = {};
    /// Also captures streams with more than two channels, mixed down to two, even if the device could play
    /// all of them.
    bool downmixesSurround = false;

    /// Whether every gain is exactly 0 dB. True also for an empty list of gains.
    bool isFlat() const;
    /// Whether the settings leave the sound unchanged: flat, volume exactly 1, no device chosen, not
    /// bypassed. Ignores downmixesSurround, which selects what is captured, not how it sounds.
    bool isNeutral() const;
    /// Whether the source with these settings of its own uses those of the system-wide entry.
    bool followsSystem(std::string_view sourceID) const;
    /// Makes the curve flat and changes nothing else.
    void reset();

    /// Short label of a band: "63" ... "500", "1K" ... "8K". Aborts the process unless `index` is below
    /// bandCount.
    static std::string bandLabel(std::size_t index);
    /// The settings that a source's tap uses: all of `system` while `own` is neutral, else all of `own`.
    /// downmixesSurround always comes from `own`. The system-wide entry itself (`isSystem`) always uses
    /// `own`.
    static EQSettings effective(const EQSettings& own, const EQSettings& system, bool isSystem);

    friend bool operator==(const EQSettings&, const EQSettings&) = default;
};

} // namespace vello
