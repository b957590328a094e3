// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Control/CommandLine/ClientArguments.h"

#include <iosfwd>

namespace vello {

/// The output streams of a command.
struct ClientOutput {
    std::ostream& out;
    std::ostream& error;
    bool isTerminal = false; ///< `out` may be overwritten in place
};

/// Sends the request to the running instance. Needs a QCoreApplication. Returns the exit code; if it is not
/// kExitDone, one line on `error` gives the reason.
int runClient(const ClientRequest& request, const ClientOutput& output);

} // namespace vello
