// SPDX-License-Identifier: Apache-2.0
#include "Control/State/OutsideValues.h"

#include "Foundation/DisplayText.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include <unicode/uchar.h>
#include <unicode/utf8.h>

namespace vello {
namespace {

using Kind = OutsideValueError::Kind;

/// False for NaN.
bool isWithin(double value, double lowest, double highest) {
    return value >= lowest && value <= highest;
}

std::vector<double> presetGains(const std::string& id, std::span<const UserEQPreset> userPresets) {
    if (const auto preset = EQPreset::fromRawValue(id))
        return {preset->bandGains().begin(), preset->bandGains().end()};
    const auto found = std::ranges::find(userPresets, id, &UserEQPreset::name);
    if (found == userPresets.end())
        throw OutsideValueError(Kind::unknownPreset,
                                "there is no such preset; vello presets lists the available ones");
    return found->bandGains;
}

std::optional<std::vector<double>> chosenCurve(const SettingsChange& change,
                                               std::span<const UserEQPreset> userPresets) {
    const int curves =
        int{change.resetsCurve} + int{change.bandGains.has_value()} + int{change.presetID.has_value()};
    if (curves > 1)
        throw OutsideValueError(Kind::invalidValue,
                                "a reset, a preset and gains exclude each other; give one");
    if (change.resetsCurve)
        return std::vector<double>(EQSettings::bandCount, 0.0);
    return change.presetID ? presetGains(*change.presetID, userPresets) : change.bandGains;
}

std::optional<std::string> chosenOutput(const std::string& uid, std::span<const AudioOutputRoute> routes) {
    if (uid.empty())
        return std::nullopt;
    if (std::ranges::find(routes, uid, &AudioOutputRoute::id) == routes.end())
        throw OutsideValueError(Kind::unknownOutput,
                                "there is no such output; vello status --json lists the available ones");
    return uid;
}

/// Includes line breaks and bidirectional controls, but not the joiners within emoji.
bool isControl(UChar32 character) {
    return (U_GET_GC_MASK(character) & (U_GC_CC_MASK | U_GC_ZL_MASK | U_GC_ZP_MASK)) != 0 ||
           u_hasBinaryProperty(character, UCHAR_BIDI_CONTROL);
}

} // namespace

void checkGains(std::span<const double> gains) {
    if (gains.size() != EQSettings::bandCount)
        throw OutsideValueError(Kind::invalidValue, "expected eight gains, one for each band");
    if (!std::ranges::all_of(gains, [](double gain) { return isWithin(gain, -kLargestGain, kLargestGain); }))
        throw OutsideValueError(Kind::invalidValue, "every gain is a number of decibels from -12 to 12");
}

void checkVolume(double volume) {
    if (!isWithin(volume, 0, kLargestVolume))
        throw OutsideValueError(
            Kind::invalidValue,
            "the volume is a number from 0 to 1, where 1 leaves the sound as loud as it is");
}

void checkPresetName(std::string_view name) {
    if (name.size() > kLongestPresetName)
        throw OutsideValueError(Kind::invalidValue,
                                "the preset's name is too long; 200 bytes is the most that one may have");
    bool isVisible = false;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(name.data());
    for (std::size_t i = 0; i < name.size();) {
        UChar32 character = 0;
        U8_NEXT(bytes, i, name.size(), character);
        if (character < 0 || isControl(character))
            throw OutsideValueError(Kind::invalidValue,
                                    "the preset's name is not plain text; leave control characters out");
        isVisible = isVisible || u_isgraph(character);
    }
    if (!isVisible)
        throw OutsideValueError(Kind::invalidValue, "the preset's name is blank; give one that can be seen");
}

void checkImportedPresetName(std::string_view name) {
    checkPresetName(name);
    if (EQPreset::fromRawValue(trimmedWhiteSpace(name)))
        throw OutsideValueError(Kind::invalidValue,
                                "the preset's name is the id of a built-in preset; give another one");
}

EQSettings changedSettings(EQSettings settings, const SettingsChange& change,
                           const SettingsChoices& choices) {
    if (change == SettingsChange())
        throw OutsideValueError(Kind::invalidValue, "there is nothing to change; give at least one setting");
    if (auto curve = chosenCurve(change, choices.userPresets)) {
        // Check presets too: one from a file or another machine may have invalid gains.
        checkGains(*curve);
        settings.bandGains = std::move(*curve);
    }
    if (change.volume) {
        checkVolume(*change.volume);
        settings.volume = *change.volume;
    }
    if (change.outputDeviceUID)
        settings.outputDeviceUID = chosenOutput(*change.outputDeviceUID, choices.outputRoutes);
    settings.isBypassed = change.isBypassed.value_or(settings.isBypassed);
    settings.downmixesSurround = change.downmixesSurround.value_or(settings.downmixesSurround);
    return settings;
}

} // namespace vello
