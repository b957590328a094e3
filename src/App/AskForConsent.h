// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/CaptureAuthorization.h"
#include "Ports/ConsentStore.h"
#include "Ports/SystemLog.h"

namespace vello {

/// Puts the question to the user and waits for the answer: on the terminal of this process when it is in the
/// foreground of one, else in a window on the screen. Undecided: no answer was given. Throws
/// std::runtime_error with a sentence when there is neither.
Consent askForConsent();

/// For the start without a screen, where nobody would notice that nothing is equalized: while nothing is
/// decided, puts the question on the terminal; without one, and when it was denied, the log says how to allow
/// it.
void startWithConsent(CaptureAuthorization& authorization, SystemLog& log);

} // namespace vello
