// SPDX-License-Identifier: Apache-2.0
#include "UI/Geometry/EQPanelTexts.h"

#include <unicode/locid.h>
#include <unicode/numberformatter.h>

#include <algorithm>
#include <cmath>

namespace vello {
namespace {

/// Writes numbers as the locale does, but with the digits of the decibel scale and of the frequencies beside
/// them.
icu::number::LocalizedNumberFormatter numbers(const std::string& locale) {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale withDigits(locale.c_str());
    withDigits.setKeywordValue("numbers", "latn", status);
    return icu::number::NumberFormatter::withLocale(withDigits);
}

std::string written(const icu::number::LocalizedNumberFormatter& formatter, double number) {
    UErrorCode status = U_ZERO_ERROR;
    icu::UnicodeString text = formatter.formatDouble(number, status).toString(status);
    text.findAndReplace(u"-", u"\u2212"); // as wide as the plus sign
    std::string result;
    text.toUTF8String(result);
    return U_SUCCESS(status) ? result : std::to_string(number);
}

} // namespace

std::optional<std::string> matchingPresetName(std::span<const double> gains,
                                              std::span<const UserEQPreset> userPresets) {
    if (const auto builtIn = EQPreset::matching(gains))
        return builtIn->displayName();
    const auto preset = std::ranges::find_if(
        userPresets, [gains](const UserEQPreset& each) { return std::ranges::equal(each.bandGains, gains); });
    return preset == userPresets.end() ? std::nullopt : std::optional(preset->name);
}

std::string decimalText(double number, int decimals, const std::string& locale) {
    return written(numbers(locale)
                       .precision(icu::number::Precision::fixedFraction(decimals))
                       .roundingMode(UNUM_ROUND_HALFUP),
                   number);
}

std::string decibelText(double gain, const std::string& locale) {
    const std::string number = written(
        numbers(locale).precision(icu::number::Precision::fixedFraction(1)).sign(UNUM_SIGN_EXCEPT_ZERO),
        gain);
    return number + "\u00a0dB";
}

std::string frequencyText(double hertz) {
    const long whole = std::lround(hertz);
    return whole < 1000 ? std::to_string(whole) + "\u00a0Hz" : std::to_string(whole / 1000) + "\u00a0kHz";
}

std::string percentage(double volume, const std::string& locale) {
    return written(numbers(locale)
                       .unit(icu::NoUnit::percent())
                       .scale(icu::number::Scale::powerOfTen(2))
                       .precision(icu::number::Precision::integer()),
                   volume);
}

} // namespace vello
