// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Marks a function that runs on the data thread: it neither allocates, locks, waits, logs nor makes a system
/// call other than reading the clock. Written after `noexcept`. Compilers that know the effect check it.
#if defined(__has_cpp_attribute)
#if __has_cpp_attribute(clang::nonblocking)
#define VELLO_REALTIME [[clang::nonblocking]]
#endif
#endif
#ifndef VELLO_REALTIME
#define VELLO_REALTIME
#endif
