// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/CommandLine/OutputFormat.h"
#include "Ports/ConsentStore.h"

#include <functional>
#include <iosfwd>

namespace vello {

/// The actions of `vello permission`.
enum class PermissionAction { show, allow, deny, ask };

/// Asks the user. Returns `undecided` when the user does not answer. Throws std::exception with a sentence
/// when the user cannot be asked.
using AskForConsent = std::function<Consent()>;

/// Shows, stores or asks for the consent to the capture, whether VELLO is running or not. Prints the current
/// consent and how to change it as one line on `out`, or the consent as one JSON object; a failure is one
/// line on `error`. Returns the exit code; for `ask`, 0 means that the user answered, either way.
int runPermission(PermissionAction action, OutputFormat format, ConsentStore& store, const AskForConsent& ask,
                  std::ostream& out, std::ostream& error);

/// Asks on a terminal, up to five times until the answer is yes or no. Returns `undecided` otherwise and at
/// the end of the input.
Consent askOnTerminal(std::istream& in, std::ostream& out);

} // namespace vello
