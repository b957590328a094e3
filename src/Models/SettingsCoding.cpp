// SPDX-License-Identifier: Apache-2.0
#include "Models/SettingsCoding.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace vello {
namespace {

using nlohmann::json;

void requireType(bool isRight, std::string_view key, const json& value, const char* wanted) {
    if (!isRight)
        throw CodingError("\"" + std::string(key) + "\" is " + value.type_name() + ", not " + wanted);
}

/// Returns nullptr when the key is missing or its value is null.
const json* findMember(const json& object, std::string_view key) {
    const auto member = object.find(key);
    return member == object.end() || member->is_null() ? nullptr : &*member;
}

const json& requireMember(const json& object, std::string_view key) {
    if (const json* member = findMember(object, key))
        return *member;
    throw CodingError("\"" + std::string(key) + "\" is missing");
}

void decode(const json& value, std::string_view key, bool& result) {
    requireType(value.is_boolean(), key, value, "a boolean");
    result = value.get<bool>();
}

void decode(const json& value, std::string_view key, double& result) {
    requireType(value.is_number(), key, value, "a number");
    result = value.get<double>();
}

void decode(const json& value, std::string_view key, std::string& result) {
    requireType(value.is_string(), key, value, "a string");
    result = value.get<std::string>();
}

void decode(const json& value, std::string_view key, std::vector<double>& result) {
    requireType(value.is_array(), key, value, "an array");
    result.resize(value.size());
    for (std::size_t i = 0; i < value.size(); ++i)
        decode(value[i], key, result[i]);
}

template <typename Value> void decodeIfPresent(const json& object, std::string_view key, Value& result) {
    if (const json* member = findMember(object, key))
        decode(*member, key, result);
}

void requireObject(const json& value, const char* what) {
    if (!value.is_object())
        throw CodingError(std::string(what) + " is " + value.type_name() + ", not an object");
}

} // namespace

nlohmann::ordered_json encode(const EQSettings& settings) {
    nlohmann::ordered_json object{
        {"bandGains", settings.bandGains}, {"isBypassed", settings.isBypassed}, {"volume", settings.volume}};
    if (settings.outputDeviceUID)
        object["outputDeviceUID"] = *settings.outputDeviceUID;
    if (settings.downmixesSurround)
        object["downmixesSurround"] = true;
    return object;
}

nlohmann::ordered_json encode(const UserEQPreset& preset) {
    return {{"name", preset.name}, {"bandGains", preset.bandGains}};
}

EQSettings decodeSettings(const json& value) {
    requireObject(value, "a source's entry");
    EQSettings settings;
    decodeIfPresent(value, "bandGains", settings.bandGains);
    decodeIfPresent(value, "isBypassed", settings.isBypassed);
    decodeIfPresent(value, "volume", settings.volume);
    if (const json* member = findMember(value, "outputDeviceUID"))
        decode(*member, "outputDeviceUID", settings.outputDeviceUID.emplace());
    decodeIfPresent(value, "downmixesSurround", settings.downmixesSurround);
    return settings;
}

UserEQPreset decodeUserPreset(const json& value) {
    requireObject(value, "a preset");
    UserEQPreset preset;
    decode(requireMember(value, "name"), "name", preset.name);
    decode(requireMember(value, "bandGains"), "bandGains", preset.bandGains);
    return preset;
}

} // namespace vello
