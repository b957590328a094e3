// SPDX-License-Identifier: Apache-2.0
#include "PipeWireValues.h"

#include <charconv>
#include <cstring>

#include <nlohmann/json.hpp>
#include <spa/pod/iter.h>
#include <spa/utils/dict.h>

namespace vello {

std::string propertyText(const spa_dict& properties, const char* key) {
    const char* text = spa_dict_lookup(&properties, key);
    return text != nullptr ? text : "";
}

std::optional<std::uint32_t> propertyNumber(const spa_dict& properties, const char* key) {
    const char* text = spa_dict_lookup(&properties, key);
    if (text == nullptr)
        return std::nullopt;
    std::uint32_t number = 0;
    const char* end = text + std::strlen(text);
    const auto parsed = std::from_chars(text, end, number);
    if (parsed.ec != std::errc{} || parsed.ptr != end)
        return std::nullopt;
    return number;
}

std::string nameInJson(const char* value) {
    if (value == nullptr)
        return {};
    const auto parsed = nlohmann::json::parse(value, nullptr, false);
    if (!parsed.is_object())
        return {};
    const auto name = parsed.find("name");
    return name != parsed.end() && name->is_string() ? name->get<std::string>() : std::string{};
}

std::uint32_t formatInteger(const spa_pod* format, std::uint32_t key) {
    const spa_pod_prop* property = spa_pod_find_prop(format, nullptr, key);
    if (property == nullptr)
        return 0;
    std::uint32_t count = 0;
    std::uint32_t choice = 0;
    const spa_pod* values = spa_pod_get_values(&property->value, &count, &choice);
    std::int32_t value = 0;
    if (count < 1 || values == nullptr || SPA_POD_TYPE(values) != SPA_TYPE_Int ||
        SPA_POD_BODY_SIZE(values) < sizeof value)
        return 0;
    std::memcpy(&value, SPA_POD_BODY_CONST(values), sizeof value);
    return value > 0 ? static_cast<std::uint32_t>(value) : 0;
}

} // namespace vello
