// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Platform/ConsentStore.h"

namespace vello {

/// Whether this process can talk with the user on its terminal.
bool isOnTerminal();

/// Puts the question to the user and waits for the answer: on the terminal of this process when it is in the
/// foreground of one, else in a window on the screen. Undecided: no answer was given. Throws
/// std::runtime_error with a sentence when there is neither.
Consent askForConsent();

} // namespace vello
