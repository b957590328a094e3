// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/State/RunningState.h"

#include <string_view>

/// The words that stand for the values of RunningState on the bus, in JSON and in tables.
namespace vello {

/// "none", "starting", "connecting" or "running".
std::string_view word(TapState state);
/// TapState::none for a word of another version.
TapState tapStateOf(std::string_view word);

/// "unknown", "authorized" or "denied".
std::string_view word(Consent consent);
/// Consent::undecided for a word of another version.
Consent consentOf(std::string_view word);

} // namespace vello
