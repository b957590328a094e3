// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/CommandLine/ClientArguments.h"

namespace vello {

/// Sends `request` to the running VELLO, prints the answer and ends the process with the exit code. No
/// QCoreApplication may exist.
[[noreturn]] void askRunningInstance(const ClientRequest& request, int argumentCount, char** arguments);

} // namespace vello
