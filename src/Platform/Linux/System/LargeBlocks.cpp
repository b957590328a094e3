// SPDX-License-Identifier: Apache-2.0
#include "Platform/Linux/System/LargeBlocks.h"

#include <malloc.h>

namespace vello {

namespace {

constexpr int kMappedSize = 256 * 1024;

} // namespace

void mapLargeBlocks() noexcept {
    ::mallopt(M_MMAP_THRESHOLD, kMappedSize);
}

} // namespace vello
