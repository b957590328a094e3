// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <string>

#include <sys/types.h>

namespace vello::session {

/// CPU time of a process with all its threads, in seconds. Throws std::system_error when the process is gone.
double processorSeconds(pid_t process);
/// CPU time of its first thread only. Throws std::runtime_error when the kernel does not report it.
double firstThreadSeconds(pid_t process);
/// Its share of memory (PSS) in bytes. Throws std::runtime_error when the kernel does not report it.
std::size_t proportionalMemory(pid_t process);
std::size_t openDescriptors(pid_t process);
std::size_t threads(pid_t process);
/// Number of waits of each thread since its start, by ID and name of the thread.
std::map<std::string, long> waits(pid_t process);

} // namespace vello::session
