// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

#include <gtest/gtest.h>

namespace vello::session {

/// For a test that mounts something: whether it runs where no mount can be seen from outside.
bool hasOwnMounts();

/// Runs the current test again, alone and in a program of its own, where hasOwnMounts() is true; a failure
/// there is one here. `folder` is for its output. False: this system allows no such place.
bool runWithOwnMounts(const std::filesystem::path& folder);

} // namespace vello::session

/// First in a test that mounts something: what follows runs where it may, or the test says that it did not
/// run.
#define VELLO_NEEDS_OWN_MOUNTS(folder)                                                                       \
    if (!vello::session::hasOwnMounts()) {                                                                   \
        if (!vello::session::runWithOwnMounts(folder))                                                       \
            GTEST_SKIP() << "this system allows no mounts of the test's own";                                \
        return;                                                                                              \
    }                                                                                                        \
    static_assert(true)
