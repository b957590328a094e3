// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/LargeBlocks.h"

#include <malloc.h>

namespace vello {

namespace {

/// The audio library has two blocks of 128 KiB for each node. In the heap, those that were freed join to
/// places for its larger blocks, which stay resident there.
constexpr int kMappedSize = 64 * 1024;

} // namespace

void mapLargeBlocks() noexcept {
    ::mallopt(M_MMAP_THRESHOLD, kMappedSize);
}

} // namespace vello
