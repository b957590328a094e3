// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vello::test {

/// The functions of the C library that `action` called on this thread and that are forbidden on the data
/// thread: they allocate, lock, wait, read, write or log. Linking this file replaces them in the whole
/// program with versions that record the call and forward it.
std::vector<std::string> forbiddenCallsDuring(const std::function<void()>& action);

enum class SystemCalls {
    none,    ///< other than reading the clock
    made,    ///< at least one
    unknown, ///< the child ended in another way, or the kernel cannot watch
};

/// Whether `action` makes system calls. Runs it in a child process that the kernel kills at the first one.
SystemCalls systemCallsDuring(const std::function<void()>& action);

} // namespace vello::test
