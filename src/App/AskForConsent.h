// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/CaptureAuthorization.h"
#include "Ports/ConsentStore.h"
#include "Ports/SystemLog.h"

namespace vello {

/// Asks the user and waits for the answer: on this process's terminal while it is in the foreground, else in
/// a window. Returns undecided when the user gave no answer. Throws std::runtime_error with a sentence for
/// the user when there is neither a terminal nor a screen.
Consent askForConsent();

/// For a start without a screen, where the user would not notice that nothing is equalized. An open consent
/// is requested on the terminal. Without a terminal, or when the user denied it, the log says how to allow
/// it.
void startWithConsent(CaptureAuthorization& authorization, SystemLog& log);

} // namespace vello
