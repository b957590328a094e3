// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace vello {

/// Lets the C library map every block above 64 KiB by itself, for as long as the process lives. By default
/// it begins to take such blocks from the heap once one has been freed. The audio library's blocks of several
/// megabytes, which it clears and hardly uses, would then make the heap grow with every tap that is rebuilt.
/// Call before other threads start.
void mapLargeBlocks() noexcept;

} // namespace vello
