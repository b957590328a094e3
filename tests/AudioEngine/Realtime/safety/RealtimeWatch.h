// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vello::test {

/// The functions of the C library that `action` called on this thread although code on the data thread must
/// not: they allocate, lock, wait, read, write or log. Linking this replaces those functions in the whole
/// program by ones that take a note and go on.
std::vector<std::string> forbiddenCallsDuring(const std::function<void()>& action);

enum class SystemCalls {
    none,    ///< other than reading the clock
    made,    ///< at least one
    unknown, ///< the child ended in another way, or the kernel cannot watch
};

/// Whether `action` makes system calls. It runs in a child process that the kernel ends at the first one.
SystemCalls systemCallsDuring(const std::function<void()>& action);

} // namespace vello::test
