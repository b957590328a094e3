// SPDX-License-Identifier: Apache-2.0
#include "Control/State/ExemptionWords.h"

#include "Foundation/Text.h"

#include <algorithm>
#include <array>

namespace vello {
namespace {

struct Words {
    StreamExemption reason;
    std::string_view word;
    std::string_view phrase;
};

constexpr std::array kWords{
    Words{StreamExemption::fixed, "fixed", "its application forbids that it is moved"},
    Words{StreamExemption::module, "module", "it comes from a filter or loopback, not from an application"},
    Words{StreamExemption::unmanaged, "unmanaged", "its application or its user connects it by hand"},
    Words{StreamExemption::encoded, "encoded", "it goes to the device in a compressed format"},
    Words{StreamExemption::exclusive, "exclusive", "its application has the device for itself"},
    Words{StreamExemption::surround, "surround",
          "it has more channels than two, which the device plays; vello set ID --downmix on takes it"},
    Words{StreamExemption::pinnedElsewhere, "pinnedElsewhere",
          "it was sent to another device than the rest of its application"},
};
constexpr std::size_t kLongestWord = 40; ///< columns

} // namespace

std::string_view exemptionWord(StreamExemption reason) {
    const auto found = std::ranges::find(kWords, reason, &Words::reason);
    return found == kWords.end() ? "unknown" : found->word;
}

std::string exemptionPhrase(std::string_view word) {
    const auto found = std::ranges::find(kWords, word, &Words::word);
    return found == kWords.end() ? fittedText(word, kLongestWord) : std::string(found->phrase);
}

} // namespace vello
