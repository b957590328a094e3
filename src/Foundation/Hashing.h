// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <vector>

namespace vello {

/// Hash over the hashes of a value's fields, in their order.
inline std::size_t combinedHash(std::initializer_list<std::size_t> fields) noexcept {
    std::size_t seed = fields.size();
    for (const std::size_t field : fields)
        seed ^= field + 0x9e3779b97f4a7c15U + (seed << 6) + (seed >> 2);
    return seed;
}

template <typename Value> std::size_t hashOf(const Value& value) noexcept {
    return std::hash<Value>{}(value);
}

/// Zeros of either sign hash alike, as they compare equal.
inline std::size_t hashOf(const std::vector<double>& values) noexcept {
    std::size_t seed = values.size();
    for (const double value : values)
        seed = combinedHash({seed, hashOf(value)});
    return seed;
}

} // namespace vello
