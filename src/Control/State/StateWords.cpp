// SPDX-License-Identifier: Apache-2.0
#include "Control/State/StateWords.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vello {
namespace {

// The first of each list also stands for words and values that are not in it.
constexpr std::array kTapStates{std::pair{TapState::none, std::string_view("none")},
                                std::pair{TapState::starting, std::string_view("starting")},
                                std::pair{TapState::connecting, std::string_view("connecting")},
                                std::pair{TapState::running, std::string_view("running")}};
constexpr std::array kConsents{std::pair{Consent::undecided, std::string_view("unknown")},
                               std::pair{Consent::allowed, std::string_view("authorized")},
                               std::pair{Consent::denied, std::string_view("denied")}};

template <class Words, class Value> std::string_view wordOf(const Words& words, Value value) {
    const auto found = std::ranges::find(words, value, &Words::value_type::first);
    return found == words.end() ? words.front().second : found->second;
}

template <class Words> auto valueOf(const Words& words, std::string_view word) {
    const auto found = std::ranges::find(words, word, &Words::value_type::second);
    return found == words.end() ? words.front().first : found->first;
}

} // namespace

std::string_view word(TapState state) {
    return wordOf(kTapStates, state);
}

TapState tapStateOf(std::string_view word) {
    return valueOf(kTapStates, word);
}

std::string_view word(Consent consent) {
    return wordOf(kConsents, consent);
}

Consent consentOf(std::string_view word) {
    return valueOf(kConsents, word);
}

} // namespace vello
