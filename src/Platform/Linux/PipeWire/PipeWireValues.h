// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>

struct spa_dict;
struct spa_pod;

namespace vello {

/// The property's text; empty when the property is absent.
std::string propertyText(const spa_dict& properties, const char* key);

/// The property's number; absent when the property is missing or not a number.
std::optional<std::uint32_t> propertyNumber(const spa_dict& properties, const char* key);

/// The name in a value such as {"name":"alsa_output.pci"}; empty when the value has no name.
std::string nameInJson(const char* value);

/// A positive integer of a format; 0 when the format has none. When the format offers a choice, returns its
/// default, which is the first value.
std::uint32_t formatInteger(const spa_pod* format, std::uint32_t key);

} // namespace vello
