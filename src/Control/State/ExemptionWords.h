// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/AudioHardware.h"

#include <string>
#include <string_view>

/// The reasons why a stream is not captured, as words for programs and as phrases for people.
namespace vello {

/// A word such as "surround"; "unknown" for a reason without a word.
std::string_view exemptionWord(StreamExemption reason);
/// Explains the reason to the user, with a remedy if there is one. Returns an unknown word itself, made safe
/// for a terminal: other versions may have more reasons.
std::string exemptionPhrase(std::string_view word);

} // namespace vello
