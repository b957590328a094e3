// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/LargeBlocks.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

#include <malloc.h>

namespace vello {
namespace {

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // which have a heap of their own
TEST(LargeBlocksTest, AreMappedAlsoAfterOneWasFreed) {
    mapLargeBlocks();
    constexpr std::size_t large = std::size_t{8} << 20;
    std::free(std::malloc(large));
    const auto mapped = ::mallinfo2().hblks;
    const std::unique_ptr<void, decltype(&std::free)> block(std::malloc(large / 2), std::free);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(::mallinfo2().hblks, mapped + 1);
}
#endif

} // namespace
} // namespace vello
