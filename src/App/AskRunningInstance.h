// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/CommandLine/ClientArguments.h"

namespace vello {

/// Puts `request` to the running VELLO, prints its answer and ends the process with the exit code. There is
/// no QCoreApplication yet, or no more.
[[noreturn]] void askRunningInstance(const ClientRequest& request, int argumentCount, char** arguments);

} // namespace vello
