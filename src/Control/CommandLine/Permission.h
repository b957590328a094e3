// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Ports/ConsentStore.h"

#include <functional>
#include <iosfwd>

namespace vello {

/// What `vello permission` is asked to do.
enum class PermissionAction { show, allow, deny, ask };

/// Puts the question to the user in whatever way there is. Undecided: no answer was given. Throws
/// std::exception with a sentence when there is no way to ask.
using AskForConsent = std::function<Consent()>;

/// Shows, stores or asks for the consent to the capture; works whether VELLO runs or not. One line on `out`
/// says what holds now and how to change it, one on `error` what could not be done. Returns the exit code: 0
/// for `ask` means that there was an answer, whichever.
int runPermission(PermissionAction action, ConsentStore& store, const AskForConsent& ask, std::ostream& out,
                  std::ostream& error);

/// Asks on a terminal until the answer is yes or no; an end of the input is no answer.
Consent askOnTerminal(std::istream& in, std::ostream& out);

} // namespace vello
