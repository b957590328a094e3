// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace vello {

/// The guard's life, in a process of its own: gives the applications' streams back when the guarded process
/// dies, handles a fatal signal or is frozen. Returns, with the exit code, when the guarded process has ended
/// or sends the guard away. `board` is the descriptor of the memory that both share.
int runRedirectGuard(int board, const std::string& remoteName);

} // namespace vello
