// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace vello {

/// Starts the program of that file name with the environment and the streams of this process, but with the
/// signals as a user's shell leaves them: this process blocks and ignores some. Throws std::system_error.
pid_t spawnProgram(const std::vector<std::string>& command);

/// Waits for the end of a program that this process started. Its exit code; -1 when it ended in another way.
int awaitExitCode(pid_t pid);

} // namespace vello
