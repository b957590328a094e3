// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Persistence/StoredSettings.h"

namespace vello {

/// Applies the changes from `base` to `ours` to `theirs`: every source and every preset that was added,
/// changed or removed here is as in `ours`, and every other as in `theirs`. The presets of `ours` come first,
/// in their order.
StoredSettings merged(const StoredSettings& base, const StoredSettings& ours, StoredSettings theirs);

} // namespace vello
