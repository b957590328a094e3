// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <string>

#include <sys/types.h>

namespace vello::session {

/// Processor time that a process and all its threads have used, in seconds. Throws std::system_error when it
/// is gone.
double processorSeconds(pid_t process);
/// The same of its first thread alone. Throws std::runtime_error when the kernel does not tell.
double firstThreadSeconds(pid_t process);
/// Its share of memory (PSS), in bytes. Throws std::runtime_error when the kernel does not tell.
std::size_t proportionalMemory(pid_t process);
std::size_t openDescriptors(pid_t process);
std::size_t threads(pid_t process);
/// How often each of its threads has waited for something since it began, by number and name of the thread.
std::map<std::string, long> waits(pid_t process);

} // namespace vello::session
