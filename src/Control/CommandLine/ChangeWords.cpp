// SPDX-License-Identifier: Apache-2.0
#include "ChangeWords.h"

#include "Control/State/Numbers.h"

#include <cmath>
#include <string_view>

namespace vello {
namespace {

using Kind = OutsideValueError::Kind;

[[noreturn]] void refuseText(const char* sentence) {
    throw OutsideValueError(Kind::invalidValue, sentence);
}

bool removeSuffix(std::string_view& text, std::string_view suffix) {
    const bool isThere = text.ends_with(suffix);
    if (isThere)
        text.remove_suffix(suffix.size());
    return isThere;
}

double volumeNumber(std::string_view text) {
    const auto number = parseNumber(text);
    if (!number)
        refuseText("expected a volume such as 0.5, 50%, +5% or -3dB");
    return *number;
}

bool hasSign(std::string_view text) {
    return text.starts_with('+') || text.starts_with('-');
}

void setVolume(double volume, SettingsChange& change) {
    checkVolume(volume);
    change.volume = volume;
}

double frequencyOf(std::string_view text) {
    const bool isKilo = removeSuffix(text, "k") || removeSuffix(text, "K");
    const auto number = parseNumber(text);
    if (!number)
        refuseText("expected a band and its gain such as 1k=3, or a step such as 1k+=3");
    return *number * (isKilo ? 1000 : 1);
}

} // namespace

void parseVolumeChange(const std::string& text, SettingsChange& change) {
    std::string_view rest = text;
    const bool isAbsolute = rest.starts_with('=');
    if (isAbsolute)
        rest.remove_prefix(1);
    const bool isStep = !isAbsolute && hasSign(rest);
    const bool isDecibels = removeSuffix(rest, "dB") || removeSuffix(rest, "db");
    const bool isPercent = !isDecibels && removeSuffix(rest, "%");
    const double number = volumeNumber(rest) / (isPercent ? 100 : 1);
    const double linear = isDecibels ? std::pow(10, number / 20) : number;
    if (!isStep)
        return setVolume(linear, change);
    if (isDecibels ? linear > 1000 : std::abs(linear) > kLargestVolume)
        refuseText("a step of the volume is at most 100% or 60dB");
    (isDecibels ? change.volumeFactor : change.volumeStep) = linear;
}

BandChange parseBandChange(const std::string& text) {
    const std::string_view all = text;
    const auto equals = all.find('=');
    if (equals == std::string_view::npos || equals == 0)
        refuseText("expected a band and its gain such as 1k=3, or a step such as 1k+=3");
    const char before = all[equals - 1];
    const bool isStep = before == '+' || before == '-';
    std::string_view value = all.substr(equals + 1);
    if (!removeSuffix(value, "dB"))
        removeSuffix(value, "db");
    const auto decibels = parseNumber(value);
    const double most = isStep ? 2 * kLargestGain : kLargestGain;
    if (!decibels || std::abs(*decibels) > most)
        refuseText(isStep ? "a step of a band is a number of decibels from -24 to 24"
                          : "the gain of a band is a number of decibels from -12 to 12");
    return {.band = bandOf(frequencyOf(all.substr(0, equals - (isStep ? 1 : 0)))),
            .decibels = before == '-' ? -*decibels : *decibels,
            .isStep = isStep};
}

} // namespace vello
