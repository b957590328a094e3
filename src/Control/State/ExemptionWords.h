// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/AudioHardware.h"

#include <string>
#include <string_view>

/// Why a stream is left as it is, as a word for programs and as a phrase for people.
namespace vello {

/// Such as "surround"; "unknown" for a reason that has none.
std::string_view exemptionWord(StreamExemption reason);
/// What it means to the user, and what can be done where something can. The word itself, fit for a terminal,
/// when it is none that is known: another version may have more.
std::string exemptionPhrase(std::string_view word);

} // namespace vello
