// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/DescriptorLimit.h"

#include <gtest/gtest.h>

#include <sys/resource.h>

namespace vello {
namespace {

TEST(DescriptorLimitTest, IsRaisedToWhatTheSystemGrants) {
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit low{before.rlim_max / 2, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &low), 0);

    raiseDescriptorLimit();

    rlimit after{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &after), 0);
    EXPECT_EQ(after.rlim_cur, before.rlim_max);
    EXPECT_EQ(after.rlim_max, before.rlim_max);
    ::setrlimit(RLIMIT_NOFILE, &before);
}

} // namespace
} // namespace vello
