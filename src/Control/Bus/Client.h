// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/CommandLine/ClientArguments.h"

#include <iosfwd>

namespace vello {

/// Where a command prints.
struct ClientOutput {
    std::ostream& out;
    std::ostream& error;
    bool isTerminal = false; ///< `out` may be painted over
};

/// Does what is asked of the running instance. Needs a QCoreApplication. Returns the exit code; one line on
/// `error` says why it is not kExitDone.
int runClient(const ClientRequest& request, const ClientOutput& output);

} // namespace vello
