// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

#include <gtest/gtest.h>

namespace vello::session {

/// For a test that mounts something: whether its mounts are invisible outside.
bool hasOwnMounts();

/// Runs the current test again, alone in a child process where hasOwnMounts() is true; a failure there fails
/// this test. `folder` receives the output. Returns false when this system does not allow private mounts.
bool runWithOwnMounts(const std::filesystem::path& folder);

} // namespace vello::session

/// First statement of a test that mounts something: the rest runs where mounting is possible; otherwise the
/// test is skipped.
#define VELLO_NEEDS_OWN_MOUNTS(folder)                                                                       \
    if (!vello::session::hasOwnMounts()) {                                                                   \
        if (!vello::session::runWithOwnMounts(folder))                                                       \
            GTEST_SKIP() << "this system allows no mounts of the test's own";                                \
        return;                                                                                              \
    }                                                                                                        \
    static_assert(true)
