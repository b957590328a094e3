// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks a function that runs on the data thread. It must not allocate, lock, wait, log or make a system call
/// other than reading the clock. Goes after `noexcept`. Compilers that support the attribute verify it.
#if defined(__has_cpp_attribute)
#if __has_cpp_attribute(clang::nonblocking)
#define VELLO_REALTIME [[clang::nonblocking]]
#endif
#endif
#ifndef VELLO_REALTIME
#define VELLO_REALTIME
#endif
