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

/// Checks of what comes from outside the program, over the bus or in arguments. The model takes whatever it
/// gets; so everything passes through here first.
namespace vello {

/// A value that is refused. what() says in one line what was wrong and what to do; it never quotes the value.
class OutsideValueError : public std::runtime_error {
public:
    enum class Kind { invalidValue, unknownSource, unknownPreset, unknownOutput };

    OutsideValueError(Kind kind, const std::string& sentence) : std::runtime_error(sentence), kind_(kind) {}
    Kind kind() const { return kind_; }

private:
    Kind kind_;
};

inline constexpr double kLargestGain = 12;  ///< dB, either way
inline constexpr double kLargestVolume = 1; ///< linear

/// One finite gain from -12 to +12 dB for each band. Throws OutsideValueError, as do the other checks.
void checkGains(std::span<const double> gains);
/// Finite, 0 to 1.
void checkVolume(double volume);
/// UTF-8 that shows something, of at most kLongestPresetName bytes and without control characters.
void checkPresetName(std::string_view name);
inline constexpr std::size_t kLongestPresetName = 200;

/// What is to change of a source's settings, in one step. What is absent stays as it is.
struct SettingsChange {
    bool resetsCurve = false; ///< back to flat
    std::optional<std::vector<double>> bandGains = {};
    std::optional<std::string> presetID = {};
    std::optional<double> volume = {};
    std::optional<bool> isBypassed = {};
    std::optional<std::string> outputDeviceUID = {}; ///< empty: automatic
    std::optional<bool> downmixesSurround = {};      ///< not of the system-wide source

    friend bool operator==(const SettingsChange&, const SettingsChange&) = default;
};

/// What a change may choose from.
struct SettingsChoices {
    std::span<const UserEQPreset> userPresets;
    std::span<const AudioOutputRoute> outputRoutes;
};

/// `settings` with all of `change`, or an OutsideValueError and nothing of it. A change has something to
/// change, and at most one new curve.
EQSettings changedSettings(EQSettings settings, const SettingsChange& change, const SettingsChoices& choices);

} // namespace vello
