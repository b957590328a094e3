// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Models/AudioOutputRoute.h"
#include "Models/EQPreset.h"
#include "Models/EQSettings.h"

#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// Validation of external input from the bus or the command line. The model does not validate its input, so
/// all of it must be checked here first.
namespace vello {

/// A rejected value. what() gives the reason and a remedy in one line; it never quotes the value.
class OutsideValueError : public std::runtime_error {
public:
    enum class Kind { invalidValue, unknownSource, unknownPreset, unknownOutput };

    OutsideValueError(Kind kind, const std::string& sentence) : std::runtime_error(sentence), kind_(kind) {}
    Kind kind() const { return kind_; }

private:
    Kind kind_;
};

/// A word for programs: "invalidValue", "unknownSource" and so on.
std::string_view word(OutsideValueError::Kind kind);

inline constexpr double kLargestGain = 12;  ///< dB, in either direction
inline constexpr double kLargestVolume = 1; ///< linear

/// One finite gain from -12 to +12 dB for each band. Throws OutsideValueError, as do the other checks.
void checkGains(std::span<const double> gains);
/// Finite, 0 to 1.
void checkVolume(double volume);
/// Valid UTF-8 with a visible character, at most kLongestPresetName bytes, no control characters.
void checkPresetName(std::string_view name);
inline constexpr std::size_t kLongestPresetName = 200;
/// checkPresetName(), and not the id of a built-in preset: the id would stand for that one everywhere.
void checkNewPresetName(std::string_view name);
/// Whether a source that has never played may have this id: a plain text of at most 200 bytes without white
/// space, and not the number of a process, which is never saved.
void checkNewSourceID(std::string_view id);

/// A change of one band.
struct BandChange {
    std::size_t band = 0; ///< below EQSettings::bandCount
    double decibels = 0;  ///< -12 to 12; a step from -24 to 24
    bool isStep = false;  ///< add to the gain instead of replacing it

    friend bool operator==(const BandChange&, const BandChange&) = default;
};

/// The band whose centre is this frequency in Hz; throws OutsideValueError if there is none.
std::size_t bandOf(double frequency);

/// An atomic change of one source's settings. Absent members are not changed. Steps stop at the limits.
struct SettingsChange {
    bool resetsCurve = false; ///< makes the curve flat
    std::optional<std::vector<double>> bandGains = {};
    std::optional<std::string> presetID = {};
    std::vector<BandChange> bands = {}; ///< applied after a new curve
    std::optional<double> volume = {};
    std::optional<double> volumeStep = {};   ///< linear, -1 to 1; added
    std::optional<double> volumeFactor = {}; ///< linear, 0 to 1000; multiplied
    std::optional<bool> isBypassed = {};
    bool togglesBypass = false;
    std::optional<std::string> outputDeviceUID = {}; ///< empty: automatic
    std::optional<bool> downmixesSurround = {};      ///< not for the system-wide source
    bool isNew = false; ///< the source may be one that has neither played nor stored settings

    /// Whether the result depends on the settings before. Such a change starts from the settings in force:
    /// of a source without settings of its own, from the system-wide ones.
    bool isRelative() const;

    friend bool operator==(const SettingsChange&, const SettingsChange&) = default;
};

/// The presets and outputs that a change may refer to.
struct SettingsChoices {
    std::span<const UserEQPreset> userPresets;
    std::span<const AudioOutputRoute> outputRoutes;
};

/// Returns `settings` with the whole change applied. Throws OutsideValueError if any value is invalid, or if
/// the change is empty or has more than one new curve.
EQSettings changedSettings(EQSettings settings, const SettingsChange& change, const SettingsChoices& choices);

} // namespace vello
