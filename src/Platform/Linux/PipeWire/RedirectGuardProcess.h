// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace vello {

/// Runs the guard in its own process: restores the applications' streams when the guarded process dies,
/// handles a fatal signal or is frozen. Returns the exit code when the guarded process has ended or dismisses
/// the guard. `board` is the descriptor of the memory that both processes share.
int runRedirectGuard(int board, const std::string& remoteName);

} // namespace vello
