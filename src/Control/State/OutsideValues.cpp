// SPDX-License-Identifier: Apache-2.0
#include "Control/State/OutsideValues.h"

#include "Foundation/DisplayText.h"
#include "Foundation/Text.h"
#include "Models/EQPreset.h"

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
    if (const auto found = std::ranges::find(userPresets, id, &UserEQPreset::name);
        found != userPresets.end())
        return found->bandGains;
    const auto title = std::ranges::find(EQPreset::allCases(), id, &EQPreset::displayName);
    if (title == EQPreset::allCases().end())
        throw OutsideValueError(Kind::unknownPreset,
                                "there is no such preset; vello presets lists the available ones");
    return {title->bandGains().begin(), title->bandGains().end()};
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
                                "there is no such output; vello outputs lists the available ones");
    return uid;
}

void changeBand(double& gain, const BandChange& change) {
    const double most = change.isStep ? 2 * kLargestGain : kLargestGain;
    if (!isWithin(change.decibels, -most, most))
        throw OutsideValueError(Kind::invalidValue, "the gain of a band is a number of decibels from -12 to "
                                                    "12, a step one from -24 to 24");
    gain = change.isStep ? std::clamp(gain + change.decibels, -kLargestGain, kLargestGain) : change.decibels;
}

void changeBands(std::vector<double>& gains, std::span<const BandChange> changes) {
    if (changes.empty())
        return;
    gains.resize(EQSettings::bandCount);
    for (const BandChange& change : changes)
        changeBand(gains[change.band], change);
}

double changedVolume(double volume, const SettingsChange& change) {
    constexpr double largestFactor = 1000;
    if (int{change.volume.has_value()} + int{change.volumeStep.has_value()} +
            int{change.volumeFactor.has_value()} >
        1)
        throw OutsideValueError(Kind::invalidValue,
                                "a volume, a step of it and a factor exclude each other; give one");
    if (change.volume) {
        checkVolume(*change.volume);
        return *change.volume;
    }
    if (!isWithin(change.volumeStep.value_or(0), -kLargestVolume, kLargestVolume) ||
        !isWithin(change.volumeFactor.value_or(1), 0, largestFactor))
        throw OutsideValueError(Kind::invalidValue, "a step of the volume is a number from -1 to 1, a "
                                                    "factor one from 0 to 1000");
    if (!change.volumeStep && !change.volumeFactor)
        return volume;
    return std::clamp(volume * change.volumeFactor.value_or(1) + change.volumeStep.value_or(0), 0.0,
                      kLargestVolume);
}

bool changedBypass(bool isBypassed, const SettingsChange& change) {
    if (change.isBypassed && change.togglesBypass)
        throw OutsideValueError(Kind::invalidValue, "a bypass and its toggle exclude each other; give one");
    return change.togglesBypass ? !isBypassed : change.isBypassed.value_or(isBypassed);
}

/// Includes line breaks and bidirectional controls, but not the joiners within emoji.
bool isControl(UChar32 character) {
    return (U_GET_GC_MASK(character) & (U_GC_CC_MASK | U_GC_ZL_MASK | U_GC_ZP_MASK)) != 0 ||
           u_hasBinaryProperty(character, UCHAR_BIDI_CONTROL);
}

} // namespace

std::string_view word(OutsideValueError::Kind kind) {
    switch (kind) {
    case OutsideValueError::Kind::unknownSource:
        return "unknownSource";
    case OutsideValueError::Kind::unknownPreset:
        return "unknownPreset";
    case OutsideValueError::Kind::unknownOutput:
        return "unknownOutput";
    case OutsideValueError::Kind::invalidValue:
        break;
    }
    return "invalidValue";
}

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

void checkNewPresetName(std::string_view name) {
    checkPresetName(name);
    if (EQPreset::fromRawValue(trimmedWhiteSpace(name)))
        throw OutsideValueError(Kind::invalidValue,
                                "the preset's name is the id of a built-in preset; choose another one");
}

void checkNewSourceID(std::string_view id) {
    const bool isWellFormed = hasVisibleText(id) && id.size() <= kLongestName && isPlainText(id) &&
                              std::ranges::none_of(id, [](unsigned char c) { return c <= ' '; });
    if (!isWellFormed)
        throw OutsideValueError(Kind::invalidValue, "this cannot be the id of an application; an id is a "
                                                    "text without blanks such as org.mozilla.firefox");
    if (id.starts_with("pid."))
        throw OutsideValueError(Kind::invalidValue,
                                "settings for the number of a process are not kept; name an application");
}

std::size_t bandOf(double frequency) {
    const auto& all = EQSettings::bandFrequencies;
    const auto found = std::ranges::find(all, frequency);
    if (found == all.end())
        throw OutsideValueError(Kind::invalidValue, "there is no such band; the bands are 63, 125, 250, "
                                                    "500, 1000, 2000, 4000 and 8000 Hz");
    return static_cast<std::size_t>(found - all.begin());
}

bool SettingsChange::isRelative() const {
    return !bands.empty() || volumeStep || volumeFactor || togglesBypass;
}

EQSettings changedSettings(EQSettings settings, const SettingsChange& change,
                           const SettingsChoices& choices) {
    SettingsChange asked = change;
    asked.isNew = false;
    if (asked == SettingsChange())
        throw OutsideValueError(Kind::invalidValue, "there is nothing to change; give at least one setting");
    if (auto curve = chosenCurve(change, choices.userPresets)) {
        // Check presets too: one from a file or another machine may have invalid gains.
        checkGains(*curve);
        settings.bandGains = std::move(*curve);
    }
    changeBands(settings.bandGains, change.bands);
    settings.volume = changedVolume(settings.volume, change);
    if (change.outputDeviceUID)
        settings.outputDeviceUID = chosenOutput(*change.outputDeviceUID, choices.outputRoutes);
    settings.isBypassed = changedBypass(settings.isBypassed, change);
    settings.downmixesSurround = change.downmixesSurround.value_or(settings.downmixesSurround);
    return settings;
}

} // namespace vello
