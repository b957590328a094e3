// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/EQPanelTexts.h"

#include <unicode/locid.h>
#include <unicode/numberformatter.h>

#include <algorithm>
#include <cmath>

namespace vello {

std::optional<std::string> matchingPresetName(std::span<const double> gains,
                                              std::span<const UserEQPreset> userPresets) {
    if (const auto builtIn = EQPreset::matching(gains))
        return builtIn->displayName();
    const auto preset = std::ranges::find_if(
        userPresets, [gains](const UserEQPreset& each) { return std::ranges::equal(each.bandGains, gains); });
    return preset == userPresets.end() ? std::nullopt : std::optional(preset->name);
}

std::string decibelText(double gain, const std::string& locale) {
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString text = icu::number::NumberFormatter::withLocale(icu::Locale(locale.c_str()))
                                  .precision(icu::number::Precision::fixedFraction(1))
                                  .sign(UNUM_SIGN_EXCEPT_ZERO)
                                  .formatDouble(gain, status)
                                  .toString(status);
    text.findAndReplace(u"-", u"\u2212"); // as wide as the plus sign
    std::string number;
    text.toUTF8String(number);
    return number + "\u00a0dB";
}

std::string frequencyText(double hertz) {
    const long whole = std::lround(hertz);
    return whole < 1000 ? std::to_string(whole) + "\u00a0Hz" : std::to_string(whole / 1000) + "\u00a0kHz";
}

std::string percentage(double volume, const std::string& locale) {
    UErrorCode status = U_ZERO_ERROR;
    std::string text;
    icu::number::NumberFormatter::withLocale(icu::Locale(locale.c_str()))
        .unit(icu::NoUnit::percent())
        .scale(icu::number::Scale::powerOfTen(2))
        .precision(icu::number::Precision::integer())
        .formatDouble(volume, status)
        .toString(status)
        .toUTF8String(text);
    return U_SUCCESS(status) ? text : std::to_string(std::lround(volume * 100.0)).append("%");
}

} // namespace vello
