// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace vello {

/// Place of a preset in the list: presets are sorted by their places, compared element by element. Between
/// two different places there is always another one, so a preset can be inserted without moving the others.
/// No place ends with 0.
using PresetOrder = std::vector<std::uint32_t>;

/// A place after `before` and before `after`, which are different and in order. An empty `before` is the
/// beginning of the list.
PresetOrder orderBetween(const PresetOrder& before, const PresetOrder& after);
/// A place after `last` whose first element is at least `least`. An empty `last` means an empty list.
PresetOrder orderAfter(const PresetOrder& last, std::uint64_t least);
/// A place directly after `order` that no other machine chooses.
PresetOrder orderOfMachine(PresetOrder order, std::string_view machine);

} // namespace vello
